#!/usr/bin/env bash
# A file comes back from its blocks; an altered one is refused and leaves nothing behind.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out private.pem 2>/dev/null
openssl pkey -in private.pem -pubout -out public.pem
oaep=(-pkeyopt rsa_padding_mode:oaep -pkeyopt rsa_oaep_md:sha256 -pkeyopt rsa_mgf1_md:sha256)
head -c 10005 /dev/urandom >file

expect "" encrypt public.pem file encrypted
[[ $(stat -c %s encrypted) == $((53 * 256)) ]] || fail "not 53 blocks" # in pieces of 190 bytes
head -c 256 encrypted | openssl pkeyutl -decrypt -inkey private.pem "${oaep[@]}" | cmp - <(head -c 190 file)
expect "" decrypt private.pem encrypted decrypted
cmp file decrypted

cp encrypted whole
for byte in x y; do # one of them is another than the byte that is there
    printf %s $byte | dd of=encrypted bs=1 seek=1000 conv=notrunc 2>/dev/null
    cmp -s whole encrypted || break
done
echo earlier >there
for output in altered there; do
    rejects "encrypted: EVP_PKEY_decrypt failed to generate the decrypted text." decrypt private.pem encrypted "$output"
    rejects "private.pem: Fail to create EVP_PKEYUPtr*; is it the public half of an RSA key of 2048 bits? try: openssl pkey" \
        encrypt private.pem file "$output"
    rejects "public.pem: *; is it the private half of an RSA key of 2048 bits, without a password? try: openssl pkey" \
        decrypt public.pem encrypted "$output"
    rejects "cannot open missing: No such file or directory" encrypt public.pem missing "$output"
    rejects "cannot open missing: No such file or directory" encrypt missing file "$output"
    rejects "cannot read . to its end" encrypt public.pem . "$output"
    rejects "cannot read . to its end" encrypt . file "$output"
done
rejects "cannot write missing/file: No such file or directory" encrypt public.pem file missing/file
rejects "cannot write .: Is a directory" encrypt public.pem file .
rejects "public.pem and ./public.pem are the same file" encrypt public.pem file ./public.pem

cp file same
expect "" encrypt public.pem same same
[[ $(stat -c %s same) == $((53 * 256)) ]] || fail "not 53 blocks"
expect "" decrypt private.pem same ./same
cmp file same
misuse encrypt public.pem file
