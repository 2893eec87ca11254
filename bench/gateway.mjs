// What the gateway's pages cost while a filter run is under way, and what many of them leave behind. Prints a line for each
// figure; status 1 when a limit is not kept.
//
//   node bench/gateway.mjs [nested] [requests] [runs]
//
//   nested    all kinds of pages during runs over 2,000 messages on a line of 20 ms each way
//   requests  descriptors and memory before and behind 100,000 requests in one go
//   runs      the same for 1,000 runs with pages in the middle of each
//
// script/bench does this; VORNELLE_PROGRAM names the program. VORNELLE_BENCH_SHARE=0.01 takes that part of the requests
// and runs.

import { spawn } from 'node:child_process';
import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';
import { performance } from 'node:perf_hooks';
import { fileURLToPath } from 'node:url';

import { Dovecot } from '../tests/support/dovecot.mjs';
import { Application } from '../tests/support/harness.mjs';
import { MailServer } from '../tests/support/mailserver.mjs';
import { letter } from './letters.mjs';

const SHARE = Number(process.env.VORNELLE_BENCH_SHARE ?? 1);
const DELAY = 20;  // milliseconds, each way
const chosen = process.argv.slice(2);
let missed = 0;

function report(text, kept) {
  console.log(`${text}${kept ? '' : '   <-- NOT KEPT'}`);
  if (!kept) missed++;
}

const at = (numbers, share) => [...numbers].sort((a, b) => a - b)[Math.min(numbers.length - 1, Math.floor(numbers.length * share))];

const keptOpen = new http.Agent({ keepAlive: true });
// { status, headers, body, milliseconds }. agent: false for a connection of its own.
function ask(app, target, { method = 'GET', agent = keptOpen } = {}) {
  const began = performance.now();
  return new Promise((resolve, reject) => {
    const request = http.request({ host: '::1', port: app.port, path: target.replace('{s}', app.sessionId), method, agent,
      headers: { Host: `localhost:${app.port}`, 'Sec-Fetch-Site': 'same-origin' } }, (answer) => {
      const pieces = [];
      answer.on('data', (piece) => pieces.push(piece));
      answer.on('end', () => resolve({ status: answer.statusCode, headers: answer.headers,
        body: Buffer.concat(pieces).toString('latin1'), milliseconds: performance.now() - began }));
    });
    request.on('error', reject);
    request.end();
  });
}

// Every kind of page that is served in the middle of a run.
const PAGES = ['/displayfriendlist.htm?s={s}', '/config.htm?s={s}', '/displayspambox.htm?s={s}&msg=0', '/displayinbox.htm?s={s}&msg=0',
  '/findinlists.htm?s={s}&findinlists=friend&END=1', '/preview.htm?b=spam&k=old&s={s}', '/displayspam.cgi?fn=old.txt&s={s}',
  '/displayenemylist.htm?s={s}', '/status.json?s={s}', '/vornelle.ico', '/guide.htm', '/'];

const OLD = 'From: <a@b.example>\r\nSubject: held\r\n\r\nwords\r\n';

// Pages one after the other until the run is over; `took` gets { target, milliseconds, early }. early: before the first
// message is judged, while the program logs on and reads lists and headers.
async function pagesDuringARun(app, took, first = 0) {
  let over = false;
  let answer = null;
  const run = ask(app, '/mailfilter.cgi?s={s}', { method: 'POST' }).then((given) => { over = true; answer = given; });
  for (let n = first; !over; n++) {
    const { underWay } = JSON.parse((await ask(app, '/status.json?s={s}')).body);
    const target = PAGES[n % PAGES.length];
    const page = await ask(app, target);
    if (page.status !== 200 && page.status !== 303) throw new Error(`${target}: ${page.status}`);
    if (!over && underWay) took.push({ target, milliseconds: page.milliseconds, early: underWay.total === 0 });
  }
  await run;
  if (answer.status !== 200) throw new Error(`the run: ${answer.status}`);
}

// In a process of its own, so that it holds nothing up but the line.
async function slowLine(port) {
  const program = fileURLToPath(new URL('../tests/support/delay_proxy.mjs', import.meta.url));
  const child = spawn(process.execPath, [program, '--to', String(port), '--delay', String(DELAY)], { stdio: ['ignore', 'pipe', 'inherit'] });
  const said = await new Promise((resolve) => child.stdout.once('data', resolve));
  return { port: Number(/port (\d+)/.exec(said)[1]), stop: () => child.kill() };
}

async function nested() {
  const count = 2000;
  const dovecot = await Dovecot.start();
  const line = await slowLine(dovecot.port);
  const app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${line.port}` } });
  const took = [];
  try {
    await app.login();
    await ask(app, '/displayinbox.htm?s={s}');
    let runs = 0;
    while (took.length < 300 && runs < 40) {
      fs.rmSync(app.path('spam'), { recursive: true });
      fs.mkdirSync(app.path('spam'));
      app.write('spam/old.txt', OLD);
      await ask(app, '/displayspambox.htm?s={s}');
      for (let n = 0; n < count; n++) dovecot.deliver(letter(n, 4096, `s${n}@bench.example`));
      dovecot.index();
      await pagesDuringARun(app, took, took.length);
      runs++;
      if (dovecot.files().length > 0) throw new Error('a run has left messages');
    }
    const told = (pages) => {
      const times = pages.map((page) => page.milliseconds);
      return times.length === 0 ? 'none' : `${times.length} pages, median ${at(times, 0.5).toFixed(1)} ms, ` +
        `95 of 100 within ${at(times, 0.95).toFixed(0)} ms, the longest ${Math.max(...times).toFixed(0)} ms`;
    };
    const median = at(took.map((page) => page.milliseconds), 0.5);
    report(`pages during ${runs} runs over ${count} messages, ${DELAY} ms each way: ${told(took)} (median below 100 wanted)`,
      took.length >= 200 && median < 100);
    console.log(`  before the first message is judged: ${told(took.filter((page) => page.early))}`);
    console.log(`  from then on: ${told(took.filter((page) => !page.early))}`);
    for (const target of PAGES) {
      console.log(`  ${path.posix.basename(target).replace(/[?&]s=.*|[?].*/, '') || '/'}: ${told(took.filter((page) => page.target === target))}`);
    }
  } finally {
    await app.stop();
    line.stop();
    await dovecot.stop();
  }
}

// What /proc tells: open descriptors, resident kilobytes; and the log, which the log box keeps whole.
function held(app) {
  const folder = `/proc/${app.process.child.pid}`;
  return { files: fs.readdirSync(`${folder}/fd`).length, log: fs.statSync(app.path('Vornelle.log')).size / 1024, kilobytes: Number(/VmRSS:\s+(\d+)/.exec(fs.readFileSync(`${folder}/status`, 'utf8'))[1]) };
}

async function leaves(name, app, warm, work) {
  await warm();
  const before = held(app);
  const seconds = await work();
  keptOpen.destroy();
  let after = held(app);
  for (let n = 0; n < 100 && after.files > before.files; n++) {
    await new Promise((resolve) => setTimeout(resolve, 100));
    after = held(app);
  }
  const logged = Math.round(after.log - before.log);
  report(`${name} in ${seconds.toFixed(0)} s: descriptors ${before.files} before, ${after.files} behind; memory ${before.kilobytes} KB ` +
    `before, ${after.kilobytes} KB behind, of which ${logged} KB are logged lines (no descriptor and less than 2 MB more wanted)`,
    after.files <= before.files && after.kilobytes - before.kilobytes - logged < 2048);
}

async function requests() {
  const count = Math.round(100000 * SHARE);
  const app = await Application.start();
  try {
    await app.login();
    app.write('spam/old.txt', OLD);
    await ask(app, '/displayspambox.htm?s={s}');
    const some = async (number) => {
      const began = performance.now();
      let next = 0;
      const one = async () => {
        while (next < number) {
          const n = next++;
          // Every hundredth by a connection of its own, and every thousandth on the plain wire.
          if (n % 1000 === 999) await app.get('/vornelle.ico');
          const { status } = await ask(app, PAGES[n % PAGES.length], n % 100 === 99 ? { agent: false } : {});
          if (status !== 200 && status !== 303) throw new Error(`${PAGES[n % PAGES.length]}: ${status}`);
        }
      };
      await Promise.all([one(), one(), one(), one()]);
      return (performance.now() - began) / 1000;
    };
    await leaves(`${count} requests`, app, () => some(Math.max(2000, count / 20)), () => some(count));
  } finally {
    await app.stop();
  }
}

async function runs() {
  const count = Math.round(1000 * SHARE);
  const server = await MailServer.start({ pop: { pipelining: true } });
  const app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}` } });
  try {
    await app.login();
    app.write('spam/old.txt', OLD);
    await ask(app, '/displayspambox.htm?s={s}');
    const took = [];
    const some = async (number) => {
      const began = performance.now();
      for (let n = 0; n < number; n++) {
        for (let i = 0; i < 40; i++) server.maildrop.add({ uid: `m${i}`, data: letter(i, 1024, `s${i}@bench.example`) });
        await pagesDuringARun(app, took, took.length);
        // What the scripted server remembers is no business of this.
        server.pop.sessions.length = 0;
      }
      return (performance.now() - began) / 1000;
    };
    await leaves(`${count} runs with pages in their middle`, app, () => some(Math.max(20, count / 20)), () => some(count));
    report(`  ${took.length} pages in their middle`, took.length > count);
  } finally {
    await app.stop();
    await server.stop();
  }
}

for (const [name, measure] of Object.entries({ nested, requests, runs })) {
  if (chosen.length === 0 || chosen.includes(name)) await measure();
}
keptOpen.destroy();
process.exit(missed > 0 ? 1 : 0);
