#!/bin/sh
# SPDX-License-Identifier: MIT
# Makes the signed documents of examples/ anew, with openssl and xmlsec1. Keys that exist in
# examples/keys are kept; delete them to get new ones. Run it from anywhere.
set -eu
top=$(dirname "$(dirname "$(readlink -f "$0")")")
cd "$top/examples"
mkdir -p keys

DS=http://www.w3.org/2000/09/xmldsig#
C14N=http://www.w3.org/TR/2001/REC-xml-c14n-20010315
EXC=http://www.w3.org/2001/10/xml-exc-c14n#
MORE=http://www.w3.org/2001/04/xmldsig-more
SHA256=http://www.w3.org/2001/04/xmlenc#sha256
SHA512=http://www.w3.org/2001/04/xmlenc#sha512

# Keys: an authority with one signer's certificate, an elliptic-curve key, a secret.
if [ ! -e keys/signer.key ]; then
    openssl req -x509 -newkey rsa:2048 -noenc -sha256 -days 7300 -subj "/O=Example/CN=Example Root" \
        -keyout keys/root.key -out keys/root.pem 2>/dev/null
    openssl req -newkey rsa:2048 -noenc -subj "/O=Example/CN=Example Signer" \
        -keyout keys/signer.key -out keys/signer.csr 2>/dev/null
    printf 'keyUsage=critical,digitalSignature\nsubjectKeyIdentifier=hash\n' >keys/signer.ext
    openssl x509 -req -in keys/signer.csr -CA keys/root.pem -CAkey keys/root.key -set_serial 4711 \
        -sha256 -days 7300 -extfile keys/signer.ext -out keys/signer.pem 2>/dev/null
    rm keys/signer.csr keys/signer.ext
fi
[ -e keys/ec.key ] || openssl ecparam -name prime256v1 -genkey -noout -out keys/ec.key
[ -e keys/secret.bin ] || openssl rand -out keys/secret.bin 32
openssl ec -in keys/ec.key -pubout -out keys/ec.pub 2>/dev/null
openssl pkey -in keys/signer.key -pubout -out keys/signer.pub

# reference URI DIGEST [TRANSFORM...]
reference() {
    printf '      <Reference URI="%s">\n' "$1"
    digest=$2
    shift 2
    if [ $# -gt 0 ]; then
        printf '        <Transforms>\n'
        printf '          <Transform Algorithm="%s"/>\n' "$@"
        printf '        </Transforms>\n'
    fi
    printf '        <DigestMethod Algorithm="%s"/>\n        <DigestValue></DigestValue>\n      </Reference>\n' "$digest"
}

# signature ID C14N METHOD KEYINFO [AFTER]: a template; the references come from standard input.
signature() {
    printf '  <Signature xmlns="%s" Id="%s">\n    <SignedInfo>\n' "$DS" "$1"
    printf '      <CanonicalizationMethod Algorithm="%s"/>\n      <SignatureMethod Algorithm="%s"/>\n' "$2" "$3"
    cat
    printf '    </SignedInfo>\n    <SignatureValue></SignatureValue>\n%s%s  </Signature>\n' "$4" "${5:-}"
}

sign() { # OUTPUT OPTIONS...: signs the template on standard input
    output=$1
    shift
    cat >"$output.tmp"
    xmlsec1 --sign "$@" --output "$output" "$output.tmp"
    rm "$output.tmp"
}

X509='    <KeyInfo><X509Data><X509Certificate/></X509Data></KeyInfo>
'
RSA_VALUE='    <KeyInfo><KeyValue/></KeyInfo>
'

# 1. Enveloped: the signature stands inside the invoice that it signs.
{
    printf '<?xml version="1.0" encoding="UTF-8"?>\n<Invoice xmlns="urn:example:invoice" number="2024-0815">\n'
    printf '  <Buyer>Mühlenbäckerei &amp; Söhne</Buyer>\n'
    printf '  <Line><Item>Flour, type 550</Item><Amount currency="EUR">118.00</Amount></Line>\n'
    printf '  <Line><Item>Delivery</Item><Amount currency="EUR">12.50</Amount></Line>\n'
    printf '  <Total currency="EUR">130.50</Total>\n'
    reference "" "$SHA256" "${DS}enveloped-signature" | signature invoice-signature "$C14N" "$MORE#rsa-sha256" "$X509"
    printf '</Invoice>\n'
} | sign invoice.xml --privkey-pem keys/signer.key,keys/signer.pem

# 2. The same with one figure changed after signing.
sed 's/>130\.50</>13.05</' invoice.xml >invoice-tampered.xml

# 3. Enveloping: the signed object stands inside the signature; the key's value is given.
point=$(openssl ec -in keys/ec.key -pubout -outform DER 2>/dev/null | tail -c 65 | base64 -w0)
EC_VALUE="    <KeyInfo><KeyValue><ECKeyValue xmlns=\"http://www.w3.org/2009/xmldsig11#\"><NamedCurve URI=\"urn:oid:1.2.840.10045.3.1.7\"/><PublicKey>$point</PublicKey></ECKeyValue></KeyValue></KeyInfo>"
OBJECT='    <Object Id="message"><note xmlns="urn:example:note"><to>Ada</to><text>Engine runs at noon.</text></note></Object>
'
{
    printf '<?xml version="1.0" encoding="UTF-8"?>\n'
    reference "#message" "$SHA256" | signature note-signature "$C14N" "$MORE#ecdsa-sha256" "" "$OBJECT"
} | sign note-enveloping.xml --privkey-pem keys/ec.key
# The signer cannot write this form of key; KeyInfo is not covered by the signature.
sed -i "s|^\( *</SignatureValue>\)\$|\1\n$EC_VALUE|; s|\(</SignatureValue>\)\$|\1\n$EC_VALUE|" note-enveloping.xml

# 4. Same-document references by Id, exclusive canonicalization: parts of a larger message.
{
    printf '<?xml version="1.0" encoding="UTF-8"?>\n<o:Batch xmlns:o="urn:example:order" xmlns:unused="urn:example:unused">\n'
    printf '  <o:Order Id="order-1"><o:Part number="7">Bolt M8</o:Part></o:Order>\n'
    printf '  <o:Order Id="order-2"><o:Part number="9">Nut M8</o:Part></o:Order>\n'
    printf '  <o:Remark>Not signed: may be changed on the way.</o:Remark>\n'
    {
        reference "#order-1" "$SHA256" "$EXC"
        reference "#order-2" "$SHA512" "$EXC"
    } | signature batch-signature "$EXC" "$MORE#rsa-sha512" "$RSA_VALUE"
    printf '</o:Batch>\n'
} | sign orders.xml --privkey-pem keys/signer.key --id-attr:Id urn:example:order:Order

# 5. A message authentication code: both sides know the secret.
{
    printf '<?xml version="1.0" encoding="UTF-8"?>\n<Transfer xmlns="urn:example:transfer">\n  <From>A</From><To>B</To><Sum>250</Sum>\n'
    reference "" "$SHA256" "${DS}enveloped-signature" "$EXC" | signature transfer-signature "$EXC" "$MORE#hmac-sha256" ""
    printf '</Transfer>\n'
} | sign transfer-hmac.xml --hmackey keys/secret.bin

# 6. Detached: the signature covers a file beside it.
printf 'Dear Ada,\n\nthe engine runs at noon.\n' >letter.txt
{
    printf '<?xml version="1.0" encoding="UTF-8"?>\n'
    reference "letter.txt" "$SHA256" | signature letter-signature "$C14N" "$MORE#rsa-sha256" "$X509"
} | sign letter-detached.xml --privkey-pem keys/signer.key,keys/signer.pem

# 7. An assertion inside of a message, as identity providers send it; and the same signed assertion moved aside,
# with another one in its place.
ASSERTION=urn:example:assertion
{
    printf '<?xml version="1.0" encoding="UTF-8"?>\n<Response xmlns="urn:example:response">\n'
    printf '<Assertion xmlns="%s" ID="a1"><Subject>alice</Subject>\n' "$ASSERTION"
    reference "#a1" "$SHA256" "${DS}enveloped-signature" "$EXC" | signature assertion-signature "$EXC" "$MORE#rsa-sha256" "$X509"
    printf '</Assertion>\n</Response>\n'
} | sign response.xml --privkey-pem keys/signer.key,keys/signer.pem --id-attr:ID "$ASSERTION:Assertion"
{
    sed -n '1,2p' response.xml
    printf '<Assertion xmlns="%s" ID="evil"><Subject>mallory</Subject></Assertion>\n<Extensions>\n' "$ASSERTION"
    sed -n '3,$p' response.xml | sed '$d'
    printf '</Extensions>\n</Response>\n'
} >response-wrapped.xml

for document in invoice note-enveloping orders transfer-hmac letter-detached response; do
    echo "made examples/$document.xml"
done
