# Sourced, in place of common.sh, by the scripts that need a Debian of their own, whatever the machine has: a clean one,
# made of Debian's packages in a folder beside .runtime/, and copies of it.
# shellcheck shell=bash
# shellcheck source=tools/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
# shellcheck source=tools/packages.sh
source "$root/tools/packages.sh"

declare -A codename=([12]=bookworm [13]=trixie)

# The clean Debian of a version; .runtime-debian13 for 13.
clean=$root/.runtime-debian

# It believes the archives for as long as the machine does: a mirror that stands still has lists that have expired.
make_debian() { # VERSION
    local archive validity
    validity=$(apt-config dump Acquire::Check-Valid-Until)
    for archive in $(archives); do
        as_root rm -rf "$clean$1.new"
        echo "deb [signed-by=$keyring] $archive ${codename[$1]} main" >"$scratch/sources.list"
        if as_root mmdebstrap --variant=apt --include=ca-certificates --aptopt='APT::Install-Recommends "false"' --aptopt="$validity" \
            "${codename[$1]}" "$clean$1.new" - <"$scratch/sources.list"; then
            as_root mv "$clean$1.new" "$clean$1"
            return
        fi
    done
    echo "None of apt's archives has Debian's ${codename[$1]}: no network, or a mirror that is partial or old?"
    return 1
}

need_debian() { # VERSION...
    local version
    need bubblewrap debian-archive-keyring mmdebstrap
    read_lists_for_missing
    install_missing
    for version in "$@"; do
        [[ -d $clean$version ]] || step "Fill $(basename "$clean$version")/" make_debian "$version"
    done
}

# in_debian FOLDER [BWRAP OPTION...] -- COMMAND...: runs it there as root, with the machine's network.
in_debian() {
    local folder=$1 options=()
    shift
    while [[ $1 != -- ]]; do
        options+=("$1")
        shift
    done
    as_root bwrap --bind "$folder" / --dev /dev --proc /proc --perms 1777 --tmpfs /tmp --ro-bind /etc/resolv.conf /etc/resolv.conf \
        --die-with-parent --cap-add ALL --clearenv --setenv PATH /usr/sbin:/usr/bin:/sbin:/bin --setenv HOME /tmp \
        --setenv LC_ALL C.UTF-8 --setenv DEBIAN_FRONTEND noninteractive "${options[@]}" "${@:2}"
}

# in_copy VERSION [BWRAP OPTION...] -- COMMAND...: in a copy of the clean one that is gone afterwards, in a clone in
# /clone that has nothing but what git knows of this one, as one commit.
in_copy() {
    local copy=$clean$1-copy
    as_root rm -rf "$copy" "$scratch/clone"
    as_root cp -a "$clean$1" "$copy"
    mkdir "$scratch/clone"
    git -C "$root" ls-files -z | tar -c -C "$root" --null --files-from=- | tar -x -C "$scratch/clone"
    git -C "$scratch/clone" init -q -b main
    git -C "$scratch/clone" add --all
    git -C "$scratch/clone" -c user.name=copy -c user.email=copy commit -qm "The clone as it is"
    as_root chown -R 0:0 "$scratch/clone"
    in_debian "$copy" --bind "$scratch/clone" /clone --chdir /clone "${@:2}"
    as_root rm -rf "$copy" "$scratch/clone"
}
