// What a message costs as the mailbox grows, over lines of different length: filter runs over 500 to 20,000 messages of
// 4 KB from Dovecot, all of them spam, with 0, 20 and 100 milliseconds each way. Adds the figures to a file of JSON, from
// which curve_picture.mjs draws the picture:
//
//   node bench/curve.mjs docs/performance.json [DELAY...]
//   node bench/curve_picture.mjs docs/performance.json docs/performance.svg

import fs from 'node:fs';
import { performance } from 'node:perf_hooks';

import { DelayProxy } from '../tests/support/delay_proxy.mjs';
import { Dovecot } from '../tests/support/dovecot.mjs';
import { Application } from '../tests/support/harness.mjs';
import { letter } from './letters.mjs';

const COUNTS = [500, 1000, 2000, 5000, 10000, 20000];
const [file, ...delays] = process.argv.slice(2);

async function seconds(count, delay) {
  const dovecot = await Dovecot.start();
  const proxy = delay ? await DelayProxy.start(dovecot.port, delay) : null;
  const app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${proxy?.port ?? dovecot.port}` } });
  try {
    for (let n = 0; n < count; n++) dovecot.deliver(letter(n, 4096, `s${n}@bench.example`));
    dovecot.index();
    await app.login();
    const start = performance.now();
    const line = await app.filterMail({ milliseconds: 900000 });
    if (line !== `Mail filtered:  0 msgs.  ${count} spam.`) throw new Error(line);
    return (performance.now() - start) / 1000;
  } finally {
    await app.stop();
    await proxy?.stop();
    await dovecot.stop();
  }
}

let figures = fs.existsSync(file) ? JSON.parse(fs.readFileSync(file, 'utf8')) : [];
for (const delay of (delays.length ? delays : ['0', '20', '100']).map(Number)) {
  for (const count of COUNTS) {
    const taken = await seconds(count, delay);
    console.log(`${delay} ms each way, ${count} messages: ${taken.toFixed(2)} s, ${(taken / count * 1000).toFixed(3)} ms a message`);
    figures = figures.filter((figure) => figure.delay !== delay || figure.count !== count);
    figures.push({ delay, count, seconds: Number(taken.toFixed(3)) });
  }
}
figures.sort((a, b) => a.delay - b.delay || a.count - b.count);
fs.writeFileSync(file, '[\n' + figures.map((figure) => ' ' + JSON.stringify(figure)).join(',\n') + '\n]\n');
