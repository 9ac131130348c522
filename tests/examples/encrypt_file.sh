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

printf x | dd of=encrypted bs=1 seek=1000 conv=notrunc 2>/dev/null
refuse "EVP_PKEY_decrypt failed to generate the decrypted text." decrypt private.pem encrypted altered
[[ ! -e altered ]] || fail "a part of the file was left"
refuse "Fail to create EVP_PKEYUPtr" encrypt private.pem file nothing
refuse "cannot open missing" encrypt public.pem missing nothing
refuse "cannot read . to its end" encrypt public.pem . nothing
[[ ! -e nothing ]] || fail "an empty file was left"
refuse "cannot write missing/file" encrypt public.pem file missing/file
misuse encrypt public.pem file
