#!/usr/bin/env bash
# Goes through docs/symptoms.md from top to bottom in a scratch folder with the files that the page speaks of: each row of
# its tables has to come out as it says, each block of commands has to succeed.
# Usage: by_symptom.sh SHELL PAGE COMMAND [ARGUMENT...]    the shell runs the blocks, the command a row: by_symptom.cpp
set -euo pipefail
shell=$1 page=$2
shift 2
carry_out=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() {
    printf '%s\n' "$*"
    exit 1
}

# run SHELL TITLE FILE: a block of commands, which prints only where it fails.
run() {
    local options=(-eu)
    [[ $1 != bash ]] || options+=(-o pipefail) # dash has none
    "$1" "${options[@]}" "$3" >log 2>&1 || fail "$2 fails under $1:" "$(cat "$3" log)"
}

# Files of other programs, made by openssl itself, and the same numbers as JWKs.
cat >files.sh <<'END'
umask 077
openssl req -x509 -newkey rsa:2048 -noenc -keyout made.pem -subj /CN=host -days 30 -out host-cert.pem
openssl x509 -in host-cert.pem -outform DER -out host-cert.der
openssl pkcs12 -export -inkey made.pem -in host-cert.pem -passout pass:secret -out host.p12
openssl pkcs8 -topk8 -in made.pem -passout pass:secret -out encrypted.pem
openssl pkcs8 -topk8 -in made.pem -passout pass:secret -outform DER -out encrypted.der
openssl rsa -in made.pem -RSAPublicKey_out -outform DER -out pkcs1-public.der
openssl rsa -in made.pem -RSAPublicKey_out -out rsa-pkcs1.pem
openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out made-p256.pem
openssl pkey -in made-p256.pem -outform DER -out p256.der
openssl pkey -in made-p256.pem -pubout -out verify.pem
openssl pkey -in made-p256.pem -pubout -outform DER -out p256-public.der
openssl pkcs8 -topk8 -in made-p256.pem -passout pass:secret -out encrypted-p256.pem
openssl pkcs8 -topk8 -in made-p256.pem -passout pass:secret -outform DER -out encrypted-p256.der
openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-384 -out p384.pem
openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:3072 -out rsa3072.pem
openssl genpkey -algorithm DH -pkeyopt group:ffdhe2048 -out dh.pem
openssl pkey -in dh.pem -pubout -out dh-public.pem
printf '' >empty
printf 'abc' >message
openssl dgst -sha256 -sign made-p256.pem -out signature message
openssl asn1parse -inform DER -in signature | awk -F: '/INTEGER/ { printf "%64s", $NF }' | tr ' ' 0 |
    basenc --base16 -d >signature.raw
END
cat >openssh.sh <<'END'
ssh-keygen -q -t rsa -b 2048 -N '' -f id_rsa
ssh-keygen -q -t ecdsa -b 256 -N '' -f id_ecdsa
ssh-keygen -q -t ed25519 -N '' -f id_ed25519
END
cat >jwk.sh <<'END'
openssl rsa -in made.pem -traditional -outform DER -out rsa-numbers.der
openssl ec -in made-p256.pem -outform DER -out p256-sec1.der
openssl genpkey -algorithm ED25519 -outform DER -out okp.der
openssl pkey -inform DER -in okp.der -pubout -outform DER -out okp-public.der
python3 - <<'PYTHON'
import base64, json, re, subprocess
def write(name, **members):
    text = {key: value if isinstance(value, str) else base64.urlsafe_b64encode(value).rstrip(b"=").decode()
            for key, value in members.items()}
    json.dump(text, open(name, "w"))
parsed = subprocess.run(["openssl", "asn1parse", "-inform", "DER", "-in", "rsa-numbers.der"],
                        check=True, capture_output=True, text=True).stdout
numbers = [bytes.fromhex(digits) for digits in re.findall(r"INTEGER +:(\w+)", parsed)]
write("rsa.jwk", kty="RSA", **dict(zip(("n", "e", "d", "p", "q", "dp", "dq", "qi"), numbers[1:])))
point = open("p256-public.der", "rb").read()[-64:]
integer = open("p256-sec1.der", "rb").read()[7:39] # RFC 5915: behind the sequence, its version and the octets' head
write("ec.jwk", kty="EC", crv="P-256", x=point[:32], y=point[32:], d=integer)
write("okp.jwk", kty="OKP", crv="Ed25519", x=open("okp-public.der", "rb").read()[-32:],
      d=open("okp.der", "rb").read()[-32:])
PYTHON
END

missing=()
for tool in ssh-keygen python3 basenc; do
    command -v "$tool" >/dev/null || missing+=("$tool")
done
# needs_missing FILE: whether its commands call a tool that this machine lacks.
needs_missing() {
    local tool
    for tool in "${missing[@]}"; do
        if grep -qw -- "$tool" "$1"; then return 0; fi
    done
    return 1
}

for script in files.sh openssh.sh jwk.sh; do
    needs_missing "$script" || run bash "$script" "$script"
done

unreadable_curve=$(sed -n 's/^- curve loaders: //p' "$page")
unreadable_rsa=$(sed -n 's/^- RSA loaders and queries: //p' "$page")
[[ -n $unreadable_curve && -n $unreadable_rsa ]]

# row FILES OPERATION EXPECTED: the cells of a row; false where a file was not made for want of a tool.
row() {
    local files operation=$2 expected=$3 file found
    read -ra files <<<"${1//\`/}"
    operation=${operation#\`} operation=${operation%\`}
    for file in "${files[@]}"; do
        [[ -e $file || $file == ps384 ]] || { ((${#missing[@]})) && return 1; } || fail "nothing made $file"
    done
    case $expected/$operation in
    unreadable/*ECC*) expected=$unreadable_curve ;;
    unreadable/*) expected=$unreadable_rsa ;;
    esac
    found=$("${carry_out[@]}" "$operation" "${files[@]}") || fail "cannot carry out: $operation with ${files[*]}"
    [[ $found == "$expected" ]] || fail "$operation with ${files[*]}" "    says:         $found" "    the page has: $expected"
}

# What is skipped takes the rest of its section with it, which goes on with the same files.
held=0 blocks=0 skipped=0 skipping=false
while IFS= read -r line; do
    if [[ $line == '## '* ]]; then
        skipping=false
    elif [[ $line == '```sh' ]]; then
        : >block
        while IFS= read -r line && [[ $line != '```' ]]; do printf '%s\n' "$line" >>block; done
        if $skipping || needs_missing block; then
            skipping=true skipped=$((skipped + 1))
        else
            run "$shell" "a block of $page" block
            blocks=$((blocks + 1))
        fi
    elif [[ $line =~ ^\|\ (\`[^|]*\`)\ \|\ (\`[^|]*\`)\ \|\ (.*)\ \|$ ]]; then
        if ! $skipping && row "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}" "${BASH_REMATCH[3]}"; then
            held=$((held + 1))
        else
            skipping=true skipped=$((skipped + 1))
        fi
    fi
done <"$page"
echo "$held rows held, $blocks blocks ran; $skipped skipped${missing[*]:+ for want of ${missing[*]}}"
((held > 0 && blocks > 0))
