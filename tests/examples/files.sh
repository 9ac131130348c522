#!/usr/bin/env bash
# What becomes of the file that an example writes, and of what was in its place. seal_file, which writes files for
# everyone and for their owner alone, stands for all that use the same means.
name=seal_file
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

attributes() { stat -c '%F %a' "$1"; }

head -c 100000 /dev/urandom >plain
umask 000
expect "" key key
[[ $(attributes key) == "regular file 600" ]] || fail "a key is not its owner's alone"
umask 027
expect "" seal key plain sealed
[[ $(attributes sealed) == "regular file 640" ]] || fail "the umask does not count for a new file"

# A file that is replaced hands its mode on, unless it is to hold a secret.
for mode in 600 644 666 750; do
    cp plain same
    chmod $mode same
    expect "" seal key same same
    [[ $(attributes same) == "regular file $mode" ]] || fail "a file of mode $mode became $(attributes same)"
    expect "" key same
    [[ $(attributes same) == "regular file 600" ]] || fail "a key took the mode of what it replaced"
done
if ((EUID == 0)); then
    chown 12345:23456 same
    expect "" seal key plain same
    [[ $(stat -c %u:%g same) == 12345:23456 ]] || fail "the file did not stay its owner's"
    expect "" key same
    [[ $(stat -c %u:%g same) == "$EUID:$(id -g)" ]] || fail "a key is not its maker's"
else
    chmod 444 same
    rejects "cannot write same: Permission denied" seal key plain same
    mkdir closed
    echo earlier >closed/there
    chmod 555 closed
    rejects "cannot write closed/new: Permission denied" seal key plain closed/new
    rejects "cannot write closed/there: Permission denied" seal key plain closed/there
    chmod 755 closed
fi

# Who has the old file open, or another name of it, keeps the old content.
expect "" key old
cp old copy
ln old hard
exec {descriptor}<old
expect "" key old
cmp copy - <&"$descriptor" || fail "the new key can be read where the old file was open"
cmp copy hard || fail "the other name of the file was written to"

# A link stays, and what it leads to is replaced; one that leads nowhere is refused.
mkdir folder
cp plain folder/content
ln -s folder/content link
expect "" seal key plain link
[[ $(attributes link) == "symbolic link 777" && $(stat -c %s folder/content) == 100028 ]] || fail "the link was replaced"
ln -s nowhere dangling
rejects "cannot write dangling: No such file or directory" seal key plain dangling
rejects "cannot write folder: Is a directory" seal key plain folder
rejects "cannot write folder: Is a directory" key folder
rejects "cannot write new/: No such file or directory" seal key plain new/

# Devices and pipes are written to, and are what they were.
for device in /dev/null /dev/full; do before+=$(stat -c '%F %t %T %a' $device); done
expect "" seal key plain /dev/null
rejects "cannot write /dev/full: No space left on device" seal key plain /dev/full
rejects "cannot write /dev/full: No space left on device" key /dev/full
for device in /dev/null /dev/full; do after+=$(stat -c '%F %t %T %a' $device); done
[[ $before == "$after" ]] || fail "a device is another now"
mkfifo fifo
timeout 60 "$program" open key /dev/stdin opened <fifo &
expect "" seal key plain fifo
wait $!
cmp plain opened
[[ -p fifo ]] || fail "the FIFO was replaced"
"$program" seal key plain /dev/stdout | "$program" open key /dev/stdin opened
cmp plain opened

# A standard output that is a file goes on where it was.
{ echo first; "$program" seal key plain /dev/stdout; echo last; } >all
[[ $(head -n 1 all) == first && $(tail -c 5 all) == last && $(stat -c %s all) == $((100028 + 11)) ]] ||
    fail "what was on the standard output is lost"

# Whoever starts the program without a standard output does not thereby make one of the files that it opens.
expect "" open key sealed same
"$program" seal key same same >&-
expect "" open key same opened
cmp plain opened

# A disk that is full in the middle: of the new file nothing is left, and of the old one all. The limit counts in pieces
# of 1 KiB, and the signal that goes with it would end the program.
echo earlier >there
for output in new there; do
    (
        ulimit -f 50
        trap '' XFSZ
        rejects "cannot write $output: File too large" seal key plain $output
    )
done
misuse seal key
