#!/usr/bin/env bash
# Every function of libcrypto that the library calls is one that tests can make fail, or is listed here with the reason
# why it cannot fail.
# Usage: failing_calls.sh NM OPENSSL_LIBRARY PROGRAM, the program being one with the interposers in it
set -euo pipefail

nm=$1 library=$2 program=$3

excused() {
    sed 's/ *:.*//' <<'LIST'
BIO_s_mem                         : hands out a table that is always there
EVP_blake2b512                    : the same
EVP_sha1                          : the same
EVP_sha256                        : the same
EVP_sha512                        : the same
EVP_MD_get0_name                  : looks into such a table
EVP_MD_get_size                   : the same
BN_num_bits                       : counts
BN_clear                          : returns nothing
OPENSSL_cleanse                   : returns nothing
ERR_clear_last_mark               : the error queue is there as long as the thread, and every answer of it is one
ERR_count_to_mark                 : the same
ERR_error_string_n                : the same
ERR_get_error                     : the same
ERR_peek_last_error               : the same
ERR_pop_to_mark                   : the same
ERR_print_errors                  : the same
ERR_set_mark                      : the same
OSSL_PARAM_construct_end          : returns a structure, filled in
OSSL_PARAM_construct_octet_string : the same
OSSL_PARAM_construct_size_t       : the same
OSSL_PARAM_construct_utf8_string  : the same
LIST
}

called=$("$nm" -D --undefined-only "$library" | sed -nE 's/^.* U ([A-Za-z0-9_]+)@+OPENSSL_.*$/\1/p' | sort -u)
can_fail=$("$nm" --defined-only "$program" | awk 'tolower($2) == "t" { print $3 }' | sort -u)
cannot_fail=$(excused | sort -u)

status=0
for name in $(comm -23 <(comm -23 <(echo "$called") <(echo "$can_fail")) <(echo "$cannot_fail")); do
    echo "No test can make $name fail: it needs a row in tests/support/Interposers.cpp"
    status=1
done
for name in $(comm -23 <(echo "$cannot_fail") <(echo "$called")) $(comm -12 <(echo "$cannot_fail") <(echo "$can_fail")); do
    echo "$name needs no excuse"
    status=1
done
[[ -n $called ]] || { echo "the library calls nothing" && status=1; }
exit $status
