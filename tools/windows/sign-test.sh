#!/usr/bin/env bash
# Signs a package with a test certificate and test time stamps and verifies it; checks that verification against other certificates fails.
# usage: tools/windows/sign-test.sh x64|arm64     after a build of that architecture; out/ then holds the signed package
# shellcheck source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
install_packages openssl osslsigncode
folder=$(mktemp -d)
server=''
trap '[ -z "$server" ] || kill "$server"; rm -rf "$folder"' EXIT
(umask 077; echo "of the test" >"$folder/password")
for name in signer other; do
    openssl req -x509 -newkey rsa:2048 -nodes -keyout "$folder/$name.key" -out "$folder/$name.pem" -days 2 -subj "/CN=Test of the packages: $name" \
        -addext extendedKeyUsage=codeSigning 2>/dev/null
done
openssl pkcs12 -export -inkey "$folder/signer.key" -in "$folder/signer.pem" -out "$folder/signer.p12" -passout "file:$folder/password"
mkdir "$folder/time" && mkfifo "$folder/address"
python3 "$tools/timestamp-server.py" "$folder/time" >"$folder/address" &
server=$!
read -r address <"$folder/address" || die "the time stamp server does not start"
export ORBIS_SIGN_PASSWORD_FILE=$folder/password
# sign ARCHITECTURE SIGNER TIME: verified against certificates of those names.
sign() {
    ORBIS_SIGN_ROOTS=$folder/$2.pem ORBIS_SIGN_TIMESTAMP_ROOTS=$folder/$3.pem \
        "$tools/package.sh" "$1" --sign "$folder/signer.p12" --timestamp "$address"
}
sign "${1:-}" signer time/authority
for roots in "other time/authority" "signer other"; do
    # shellcheck disable=SC2086
    if sign "$1" $roots >/dev/null 2>&1; then die "a package verified against certificates that it was not signed with: $roots"; fi
done
say "signing: signed, time stamped, verified, and refused where it must be"
