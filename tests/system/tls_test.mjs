// The console program's TLS, by OpenSSL, against real servers.

import path from 'node:path';
import { fileURLToPath } from 'node:url';

import { TlsProbe } from '../support/tls_probe.mjs';
import { tlsRing } from '../support/tls_ring.mjs';

const repository = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '..', '..');
// Another build of it, with sanitizers say.
const program = process.env.VORNELLE_TLS_PROBE ?? path.join(repository, 'build', 'linux', 'tls_probe');

tlsRing({
  engine: 'OpenSSL',
  newest: true,
  start: async (certificates) => ({
    probe: new TlsProbe([program], { ...process.env, ...certificates.environment() }),
  }),
});
