// The certificates that the engines of both systems are tried with, and what has to come of each. The same list holds for
// both: what one system's own check lets through, the program's refuses.
//
//   rows(certificates) -> [{ rule, certificate, host, expected, accepted, key, ... }]
//
// rule: what the row shows; certificate: what the server has; host: what is asked for; expected: the TlsProblem; accepted: the
// fingerprint that the user has accepted; sni: what the server has to be told; wine: what comes of it there, where that system
// is not able to tell, and refuses.

const HOST = 'mail.vornelle.test';
const CA = ['basicConstraints=critical,CA:TRUE', 'keyUsage=keyCertSign'];
const LEAF = ['basicConstraints=CA:FALSE'];

// The DER of one alternative name: the host's, a NUL and something else.
function nulName(host) {
  const name = Buffer.from(`${host}\0.evil.test`);
  return Buffer.concat([Buffer.from([0x30, name.length + 2, 0x82, name.length]), name]).toString('hex').replace(/..(?=.)/g, '$&:');
}

// aia: an address that must not be asked.
export function rows(certificates, aia = 'http://127.0.0.1:1/issuer.crt') {
  const make = (options) => certificates.make(options);
  const good = make({ names: [`DNS:${HOST}`] });
  const named = (...names) => make({ names });
  const between = certificates.authority('Between');
  const stranger = certificates.authority('Stranger', { issuer: 'self' });
  const nas = make({ name: 'nas', names: ['DNS:nas'], issuer: 'self' });
  const own = make({ names: [`DNS:${HOST}`], issuer: 'self' });
  const expired = make({ names: [`DNS:${HOST}`], from: -20, to: -10 });
  const weak = make({ names: [`DNS:${HOST}`], kind: 'rsa:1024' });
  const sha1 = make({ names: [`DNS:${HOST}`], md: 'sha1' });
  const below = (issuer, options = {}) => make({ names: [`DNS:${HOST}`], issuer, ...options });
  const list = [
    ['good', good, 'none', { sni: HOST }],
    ['good, signed with RSA-PSS', make({ names: [`DNS:${HOST}`], pss: true }), 'none', { wine: 'badCertificate' }],
    ['good, elliptic curve', make({ names: [`DNS:${HOST}`], kind: 'ec' }), 'none'],
    ['good, for servers', make({ names: [`DNS:${HOST}`], extensions: [...LEAF, 'extendedKeyUsage=serverAuth'] }), 'none'],
    ['good, name asked for in capitals', good, 'none', { host: 'MAIL.Vornelle.TEST' }],
    ['good, name asked for with a dot behind', good, 'none', { host: `${HOST}.`, sni: HOST }],
    ['good, below an authority that is sent', below(between), 'none'],
    ['good, the last one of several names', named('DNS:a.test', 'DNS:b.vornelle.test', `DNS:${HOST}`), 'none'],
    ['good, revocation lists that nobody serves', make({ names: [`DNS:${HOST}`], extensions: [...LEAF,
      'crlDistributionPoints=URI:http://127.0.0.1:1/list.crl', 'authorityInfoAccess=OCSP;URI:http://127.0.0.1:1/'] }), 'none'],

    ['another name', named('DNS:other.vornelle.test'), 'wrongName'],
    ['another name, the common name right', make({ name: HOST, names: ['DNS:other.vornelle.test'] }), 'wrongName'],
    ['the common name alone', make({ name: HOST }), 'wrongName'],
    ['no name at all', make({ extensions: [...LEAF, 'keyUsage=digitalSignature,keyEncipherment'] }), 'wrongName'],
    ['a name that only begins so', named(`DNS:${HOST}.example.test`), 'wrongName'],
    ['wildcard', named('DNS:*.vornelle.test'), 'none'],
    ['wildcard, the bare domain', named('DNS:*.vornelle.test'), 'wrongName', { host: 'vornelle.test' }],
    ['wildcard, two labels', named('DNS:*.vornelle.test'), 'wrongName', { host: 'a.mail.vornelle.test' }],
    ['wildcard inside a label', named('DNS:m*.vornelle.test'), 'wrongName'],
    ['wildcard in the second label', named('DNS:mail.*.test'), 'wrongName'],
    ['wildcard for a whole top domain', named('DNS:*.test'), 'wrongName', { host: 'vornelle.test' }],
    ['wildcard alone', named('DNS:*'), 'wrongName', { host: 'vornelle' }],
    ['address', named('IP:127.0.0.1'), 'none', { host: '127.0.0.1', sni: false }],
    ['address of version 6', named('IP:::1'), 'none', { host: '::1', sni: false }],
    ['address in brackets', named('IP:::1'), 'none', { host: '[::1]', sni: false }],
    ['another address', named('IP:127.0.0.2'), 'wrongName', { host: '127.0.0.1' }],
    ['address as a DNS name', named('DNS:127.0.0.1'), 'wrongName', { host: '127.0.0.1' }],
    ['address as the common name', make({ name: '127.0.0.1' }), 'wrongName', { host: '127.0.0.1' }],
    ['a name, asked for by address', good, 'wrongName', { host: '127.0.0.1' }],
    ['an address, asked for by name', named('IP:127.0.0.1'), 'wrongName'],
    ['xn-- name', named('DNS:xn--bcher-kva.vornelle.test'), 'none', { host: 'xn--bcher-kva.vornelle.test' }],
    ['letters beyond ASCII', named('DNS:xn--bcher-kva.vornelle.test'), 'none',
      { host: 'b\xFCcher.vornelle.test', sni: 'xn--bcher-kva.vornelle.test' }],
    ['letters beyond ASCII in capitals', named('DNS:xn--bcher-kva.vornelle.test'), 'none', { host: 'B\xDCCHER.vornelle.test' }],
    ['wildcard for letters beyond ASCII', named('DNS:*.vornelle.test'), 'none', { host: 'b\xFCcher.vornelle.test' }],
    ['wildcard below letters beyond ASCII', named('DNS:*.xn--bcher-kva.test'), 'none', { host: 'mail.b\xFCcher.test' }],
    ['a sign that no name has', good, 'wrongName', { host: 'mail\xD7.vornelle.test' }],

    ['expired', expired, 'expired'],
    ['not yet valid', make({ names: [`DNS:${HOST}`], from: 10, to: 20 }), 'notYetValid'],
    ['the authority between expired',
      below(certificates.authority('Old', { from: -20, to: -10 })), 'expired'],
    ['self-signed', own, 'selfSigned'],
    ['self-signed, for another name', nas, 'selfSigned'],
    ['self-signed and expired', make({ names: [`DNS:${HOST}`], issuer: 'self', from: -20, to: -10 }), 'selfSigned'],
    ['unknown authority', below(stranger, { sends: false }), 'untrusted'],
    ['unknown authority, sent with it', below(stranger), 'untrusted'],
    ['unknown authority that calls itself like the known one',
      below(certificates.authority('Test Root', { issuer: 'self' }), { sends: false }), 'untrusted'],
    ['the authority between not sent', below(between, { sends: false }), 'untrusted'],
    ['the authority between not sent, but its address', below(between, { sends: false,
      extensions: [...LEAF, `authorityInfoAccess=caIssuers;URI:${aia}`] }), 'untrusted'],
    ['issued by what is no authority', below(make({ names: ['DNS:a.test'], key: certificates.key('rsa:2048', true) })),
      'badCertificate'],
    ['issued by an authority that may not sign certificates', below(certificates.authority('Idle',
      { extensions: [CA[0], 'keyUsage=cRLSign'] })), 'badCertificate', { wine: 'wrongPurpose' }],
    ['below an authority too many', below(certificates.authority('Second', { issuer: certificates.authority('First',
      { extensions: ['basicConstraints=critical,CA:TRUE,pathlen:0', CA[1]] }) })), 'badCertificate'],
    ['outside of the names that its authority is for', below(certificates.authority('Narrow',
      { extensions: [...CA, 'nameConstraints=critical,permitted;DNS:example.test'] })), 'badCertificate'],
    ['a name with a NUL in it', make({ extensions: [...LEAF, `subjectAltName=DER:${nulName(HOST)}`] }), 'wrongName'],
    ['a critical extension that nobody knows', make({ names: [`DNS:${HOST}`],
      extensions: [...LEAF, '1.2.3.4.5=critical,ASN1:NULL'] }), 'badCertificate'],
    ['for clients only', make({ names: [`DNS:${HOST}`], extensions: [...LEAF, 'extendedKeyUsage=clientAuth'] }), 'wrongPurpose'],
    ['RSA of 1024 bits', weak, 'weakKey'],
    ['RSA of 1024 bits above it', below(certificates.authority('Weak', { kind: 'rsa:1024' })), 'weakKey'],
    ['SHA-1 signature', sha1, 'weakSignature'],
    ['SHA-1 signature above it', below(certificates.authority('Sha', { md: 'sha1' })), 'weakSignature'],

    ['accepted: self-signed, for another name', nas, 'none', { accepted: nas.fingerprint }],
    ['accepted: expired', expired, 'none', { accepted: expired.fingerprint }],
    ['accepted: RSA of 1024 bits', weak, 'none', { accepted: weak.fingerprint }],
    ['accepted: SHA-1 signature', sha1, 'none', { accepted: sha1.fingerprint }],
    ['accepted was another one', own, 'selfSigned', { accepted: nas.fingerprint }],
    ['accepted was another one, but this one is good', good, 'none', { accepted: nas.fingerprint }],
  ];
  return list.map(([rule, certificate, expected, options]) => ({ rule, certificate, expected, host: HOST, ...options }));
}
