// The Windows program's TLS, by Schannel, against real servers. No proxy hides what it would fetch.

import path from 'node:path';
import { fileURLToPath } from 'node:url';

import { TlsProbe } from '../support/tls_probe.mjs';
import { tlsRing } from '../support/tls_ring.mjs';
import { WineRun, wineProgram } from './wine.mjs';

const repository = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '..', '..');
const program = path.join(repository, 'build', 'windows', 'tls_probe.exe');

tlsRing({
  engine: 'Schannel',
  newest: false,
  start: async (certificates) => {
    const wine = await WineRun.start({ http_proxy: '' }, { authority: certificates.root.der });
    return { probe: new TlsProbe([wineProgram, program], wine.env), stop: () => wine.stop() };
  },
});
