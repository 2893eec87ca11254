// The figures that need servers, or the program itself, and the limits that they have to keep: header fetches from a real
// Dovecot, directly and over a slow line; the memory of a large filter run; the time that a start takes. Prints a line
// for each; status 1 when a limit is not kept.
//
//   node bench/figures.mjs HEADER_FETCH_BENCH [start] [headers] [memory]
//
// script/bench does this; VORNELLE_PROGRAM names the program. Without names all of them are taken.

import { execFile } from 'node:child_process';
import fs from 'node:fs';
import net from 'node:net';
import { performance } from 'node:perf_hooks';
import { promisify } from 'node:util';

import { DelayProxy } from '../tests/support/delay_proxy.mjs';
import { Dovecot } from '../tests/support/dovecot.mjs';
import { Application } from '../tests/support/harness.mjs';
import { launch } from '../tests/support/launcher.mjs';
import { MailServer } from '../tests/support/mailserver.mjs';

const DELAY = 20;  // milliseconds, each way
const MEGABYTE = 1024;  // in the kilobytes of /proc
const [headerFetchBench, ...chosen] = process.argv.slice(2);
const failures = [];

function report(text, kept = true) {
  console.log(`${text}${kept ? '' : '   <-- NOT KEPT'}`);
  if (!kept) failures.push(text);
}

const median = (numbers) => [...numbers].sort((a, b) => a - b)[Math.floor(numbers.length / 2)];

function letter(number, bytes, sender) {
  const head = `From: ${sender}\r\nTo: joe@home.example\r\nSubject: Letter ${number}\r\n` +
    'Date: Sun, 15 Nov 2026 01:55:00 +0000\r\nMessage-ID: <' + number + '@bench.example>\r\n\r\n';
  const line = 'This line stands here to make the letter as long as it has to be for the measurement.\r\n';
  return head + line.repeat(Math.max(1, Math.ceil((bytes - head.length) / line.length)));
}

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

// 10,000 messages of 2 KB, a friend's and spam in turn.
async function memory() {
  const count = 10000;
  const server = await MailServer.start({
    messages: Array.from({ length: count }, (_, n) => ({
      uid: `bench-${n}`, data: letter(n, 2048, n % 2 ? `s${n}@bench.example` : `f${n}@friend.example`),
    })),
    pop: { pipelining: true },
  });
  const app = await Application.start({
    settings: { POP_SERVER: `127.0.0.1:${server.popPort}` },
    lists: { friendlist: ['@friend.example'] },
  });
  try {
    await app.login();
    const started = performance.now();
    const result = await app.filterMail({ milliseconds: 900000 });
    const seconds = (performance.now() - started) / 1000;
    const status = fs.readFileSync(`/proc/${app.process.child.pid}/status`, 'utf8');
    const peak = Number(/^VmHWM:\s+(\d+) kB$/m.exec(status)[1]);
    const right = result === `Mail filtered:  ${count / 2} msgs.  ${count / 2} spam.`;
    report(`filter run over ${count} messages of 2 KB, ${count / 2} of them spam: ${seconds.toFixed(1)} s, "${result}"`, right);
    report(`filter run over ${count} messages of 2 KB: peak memory ${(peak / MEGABYTE).toFixed(1)} MB (below 64 wanted)`,
      peak < 64 * MEGABYTE);
  } finally {
    await app.stop();
    await server.stop();
  }
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

for (const [name, measure] of Object.entries({ start, headers: headerFetches, memory })) {
  if (chosen.length === 0 || chosen.includes(name)) await measure();
}
if (failures.length > 0) {
  console.log(`${failures.length} of the limits not kept`);
  process.exit(1);
}
