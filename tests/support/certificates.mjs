// Certificates for the tests of TLS, made with the openssl program when they are asked for. All of them stand in one folder,
// which goes with the test; two authorities: one that a test makes known (root.pem) and one that nobody knows.
//
//   const certificates = new Certificates();
//   const good = certificates.make({ names: ['DNS:mail.vornelle.test'] });
//   tls.createServer({ key: good.key, cert: good.chain });
//   environment: certificates.environment()

import { execFileSync } from 'node:child_process';
import crypto from 'node:crypto';
import fs from 'node:fs';
import path from 'node:path';

import { temporaryFolder } from './tools.mjs';

const DAY = 24 * 60 * 60 * 1000;
const stamp = (days) => new Date(Date.now() + days * DAY).toISOString().replace(/[-:T]/g, '').slice(0, 14) + 'Z';

const CONFIG = (folder) => `
[ca]
default_ca = all
[all]
database = ${folder}/index.txt
new_certs_dir = ${folder}
rand_serial = yes
unique_subject = no
policy = any
default_md = sha256
[any]
commonName = optional
[req]
prompt = no
distinguished_name = name
[name]
CN = unused
`;

export class Certificates {
  constructor() {
    this.folder = temporaryFolder('certificates');
    this.count = 0;
    this.keys = new Map();
    this.file = (name) => path.join(this.folder, name);
    fs.writeFileSync(this.file('index.txt'), '');
    fs.writeFileSync(this.file('config'), CONFIG(this.folder));
    this.root = this.authority('Test Root', { issuer: 'self' });
    fs.writeFileSync(this.file('root.pem'), this.root.cert);
  }

  // Where the Linux program finds the test's authority, and nothing else.
  environment() { return { SSL_CERT_FILE: this.file('root.pem'), SSL_CERT_DIR: '/none' }; }

  // kind: rsa:2048, rsa:1024, ec. Making keys takes long, so one of each kind serves all; `own` makes another.
  key(kind, own = false) {
    if (!own && this.keys.has(kind)) return this.keys.get(kind);
    const [type, bits] = kind.split(':');
    const { privateKey } = type === 'rsa' ? crypto.generateKeyPairSync('rsa', { modulusLength: Number(bits) })
      : crypto.generateKeyPairSync('ec', { namedCurve: 'prime256v1' });
    const pem = privateKey.export({ type: 'pkcs8', format: 'pem' });
    if (!own) this.keys.set(kind, pem);
    return pem;
  }

  // An authority below the test's root, or below another issuer.
  authority(name, { issuer = this.root, kind = 'rsa:2048', extensions = ['basicConstraints=critical,CA:TRUE', 'keyUsage=keyCertSign'],
    ...options } = {}) {
    return this.make({ name, issuer, key: this.key(kind, true), extensions, ...options });
  }

  // Returns { key, cert, chain (its own and those between it and the root), der, fingerprint, name, file, base (of the
  // files' names) }.
  // name: the subject's common name ('' for none); names: alternative ones; issuer: what make() or authority() returned
  // ('self': its own; the test's root unless given); from, to: days from now; md: of the signature; extensions: besides names;
  // sends: whether the chain has what stands above it.
  make({ name = '', names = [], issuer = this.root, kind = 'rsa:2048', key = this.key(kind), from = -1, to = 30,
    md = 'sha256', pss = false, extensions = ['basicConstraints=CA:FALSE'], sends = true } = {}) {
    const base = this.file(`${++this.count}`);
    fs.writeFileSync(`${base}.key`, key);
    const lines = ['[new]', ...extensions];
    if (names.length) lines.push(`subjectAltName=${names.join(',')}`);
    fs.writeFileSync(`${base}.ext`, lines.join('\n') + '\n');
    const run = (...args) => execFileSync('openssl', args, { cwd: this.folder, stdio: ['ignore', 'pipe', 'pipe'] });
    run('req', '-new', '-config', 'config', '-key', `${base}.key`, '-subj', name ? `/CN=${name}` : '/', '-out', `${base}.csr`);
    let signer = ['-selfsign', '-keyfile', `${base}.key`];
    if (issuer !== 'self') {
      fs.writeFileSync(`${base}.issuer.key`, issuer.key);
      fs.writeFileSync(`${base}.issuer.pem`, issuer.cert);
      signer = ['-keyfile', `${base}.issuer.key`, '-cert', `${base}.issuer.pem`];
    }
    run('ca', '-batch', '-config', 'config', '-notext', ...signer, '-in', `${base}.csr`, '-out', `${base}.pem`, '-md', md,
      ...(pss ? ['-sigopt', 'rsa_padding_mode:pss'] : []),
      '-startdate', stamp(from), '-enddate', stamp(to), '-extfile', `${base}.ext`, '-extensions', 'new');
    const cert = fs.readFileSync(`${base}.pem`, 'latin1');
    const der = new crypto.X509Certificate(cert).raw;
    const above = issuer === 'self' || issuer === this.root || !sends ? '' : issuer.chain;
    return { name, key, cert, chain: cert + above, der, base, file: `${base}.pem`,
      fingerprint: crypto.createHash('sha256').update(der).digest('hex') };
  }
}
