// The figures that need servers, or the program itself, and the limits that they have to keep: header fetches from a real
// Dovecot, directly and over a slow line; the time that a start takes. Prints a line for each; status 1 when a limit is not
// kept. peers.mjs has the others.
//
//   node bench/figures.mjs HEADER_FETCH_BENCH [start] [headers]
//
// script/bench does this; VORNELLE_PROGRAM names the program. Without names all of them are taken.

import { execFile } from 'node:child_process';
import net from 'node:net';
import { performance } from 'node:perf_hooks';
import { promisify } from 'node:util';

import { DelayProxy } from '../tests/support/delay_proxy.mjs';
import { Dovecot } from '../tests/support/dovecot.mjs';
import { Application } from '../tests/support/harness.mjs';
import { launch } from '../tests/support/launcher.mjs';
import { letter } from './letters.mjs';

const DELAY = 20;  // milliseconds, each way
const [headerFetchBench, ...chosen] = process.argv.slice(2);
const failures = [];

function report(text, kept = true) {
  console.log(`${text}${kept ? '' : '   <-- NOT KEPT'}`);
  if (!kept) failures.push(text);
}

const median = (numbers) => [...numbers].sort((a, b) => a - b)[Math.floor(numbers.length / 2)];

// Milliseconds of one fetch, log-on and QUIT included.
async function headerFetch(port, account, messages) {
  const { stdout } = await promisify(execFile)(headerFetchBench,
    ['--benchmark_format=json', `127.0.0.1:${port}`, account.user, account.password, String(messages)],
    { timeout: 300000 });
  const runs = JSON.parse(stdout).benchmarks.filter((run) => run.run_type === 'iteration');
  const wrong = runs.find((run) => run.error_occurred);
  if (wrong || runs.length === 0) throw new Error(`header fetch: ${wrong?.error_message ?? 'no run'}`);
  return median(runs.map((run) => run.real_time));
}

async function headerFetches() {
  const waits = {};  // what the slow line adds, in times of its both ways
  for (const count of [500, 5000]) {
    const dovecot = await Dovecot.start({
      messages: Array.from({ length: count }, (_, n) => letter(n, 2000, `Sender ${n} <s${n}@bench.example>`)),
    });
    const proxy = await DelayProxy.start(dovecot.port, DELAY);
    try {
      await headerFetch(dovecot.port, dovecot.account, count);  // Dovecot makes its indexes
      const direct = await headerFetch(dovecot.port, dovecot.account, count);
      const slow = await headerFetch(proxy.port, dovecot.account, count);
      waits[count] = Math.max(0, slow - direct) / (2 * DELAY);
      report(`header fetch from Dovecot, ${count} messages: ${direct.toFixed(0)} ms; ` +
        `with ${DELAY} ms each way: ${slow.toFixed(0)} ms, ${waits[count].toFixed(1)} waits`);
    } finally {
      await proxy.stop();
      await dovecot.stop();
    }
  }
  // One wait for each message would be 4,500.
  const more = waits[5000] - waits[500];
  report(`header fetch: ${more.toFixed(1)} waits more for 4,500 messages more (below 20 wanted)`, more < 20);
}

// Milliseconds from the start of the process to a connection that is taken.
async function startOnce(app, port) {
  const started = performance.now();
  app.process = launch(app.folder);
  for (;;) {
    const taken = await new Promise((resolve) => {
      const socket = net.connect(port, '127.0.0.1');
      socket.once('connect', () => { socket.destroy(); resolve(true); });
      socket.once('error', () => resolve(false));
    });
    const now = performance.now();
    if (taken) return now - started;
    if (now - started > 20000) throw new Error('the program does not listen');
    await new Promise((resolve) => setTimeout(resolve, 1));
  }
}

async function start() {
  const app = await Application.create();
  const port = Number(/^HTTP_PORT_CFG=(\d+)/m.exec(app.read('Vornelle.ini'))[1]);
  try {
    const times = [];
    for (let n = 0; n < 7; n++) {
      times.push(await startOnce(app, port));
      app.process.kill();
      await app.ended();
    }
    report(`start to listening: ${median(times).toFixed(0)} ms, the median of ${times.length} (below 100 wanted)`, median(times) < 100);
  } finally {
    await app.stop();
  }
}

for (const [name, measure] of Object.entries({ start, headers: headerFetches })) {
  if (chosen.length === 0 || chosen.includes(name)) await measure();
}
if (failures.length > 0) {
  console.log(`${failures.length} of the limits not kept`);
  process.exit(1);
}
