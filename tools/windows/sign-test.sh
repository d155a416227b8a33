#!/usr/bin/env bash
# Signs a package with a certificate made for this and verifies it; and sees that a signature of another certificate is refused.
# usage: tools/windows/sign-test.sh x64|arm64     after a build of that architecture; out/ then holds the signed package
# shellcheck source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
install_packages openssl osslsigncode
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
(umask 077; echo "of the test" >"$folder/password")
for name in signer other; do
    openssl req -x509 -newkey rsa:2048 -nodes -keyout "$folder/$name.key" -out "$folder/$name.pem" -days 2 -subj "/CN=Test of the packages: $name" \
        -addext extendedKeyUsage=codeSigning 2>/dev/null
done
openssl pkcs12 -export -inkey "$folder/signer.key" -in "$folder/signer.pem" -out "$folder/signer.p12" -passout "file:$folder/password"
export ORBIS_SIGN_PASSWORD_FILE=$folder/password
ORBIS_SIGN_ROOTS=$folder/signer.pem "$tools/package.sh" "${1:-}" --sign "$folder/signer.p12"
if ORBIS_SIGN_ROOTS=$folder/other.pem "$tools/package.sh" "$1" --sign "$folder/signer.p12" >/dev/null 2>&1; then
    die "a signature verified against a certificate that it was not made with"
fi
say "signing: signed, verified, and refused where it must be"
