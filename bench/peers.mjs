// The program beside its peers, in the same run on the same machine: each kind of work is done three times by both, in
// turn, and the shortest time counts. Prints a line for each with the ratio and its limit; status 1 when one is missed.
//
//   node bench/peers.mjs LIST_MATCHING_BENCH [slow] [near] [page] [gateway] [growth] [lists] [memory]
//
// script/bench does this; VORNELLE_PROGRAM names the program. Without names all of them are taken. The files lie where
// TMPDIR says. VORNELLE_BENCH_OUT names a file that gets the figures as JSON.

import { execFile, execFileSync, spawnSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { performance } from 'node:perf_hooks';
import { promisify } from 'node:util';

import { DelayProxy } from '../tests/support/delay_proxy.mjs';
import { Dovecot } from '../tests/support/dovecot.mjs';
import { Application } from '../tests/support/harness.mjs';
import { MailServer } from '../tests/support/mailserver.mjs';
import { Mpop } from './mpop.mjs';
import { Nginx } from './nginx.mjs';
import { letter } from './letters.mjs';

const TIMES = 3;
const [listMatchingBench, ...chosen] = process.argv.slice(2);
const figures = [];
let missed = 0;

const since = (start) => (performance.now() - start) / 1000;
const shortest = (seconds) => Math.min(...seconds);
const shown = (seconds) => (seconds < 1 ? `${(seconds * 1000).toFixed(0)} ms` : `${seconds.toFixed(2)} s`);

// `most` or `least` is the limit of the ratio.
function report({ work, peer, peersText, oursText, ratio, most, least }) {
  const kept = ratio <= (most ?? Infinity) && ratio >= (least ?? 0);
  const limit = most === undefined ? `at least ${least}` : `at most ${most}`;
  console.log(`${work}: ${peer} ${peersText}, ours ${oursText}, ratio ${ratio.toFixed(2)} (${limit})` +
    (kept ? '' : '   <-- MISSED'));
  figures.push({ work, peer, peersText, oursText, ratio: Number(ratio.toFixed(3)), limit, kept });
  if (!kept) missed++;
}

// The same work by the peer and by us in turn; the seconds of each.
async function inTurn(peer, ours) {
  const times = { peer: [], ours: [] };
  for (let n = 0; n < TIMES; n++) {
    times.peer.push(await peer());
    times.ours.push(await ours());
  }
  return { peer: shortest(times.peer), ours: shortest(times.ours), all: times };
}

function filled(dovecot, count, bytes) {
  for (let n = 0; n < count; n++) dovecot.deliver(letter(n, bytes, `s${n}@bench.example`));
  dovecot.index();
}

// Seconds of one filter run, which has to take everything; so many files are in the SpamBox then. The time is that of the
// program: reading its log is the harness's own work.
async function filterRun(app, files) {
  const start = performance.now();
  await app.get('/MAILFILTER.CGI?s={s}', { milliseconds: 900000 });
  const seconds = since(start);
  const line = app.events().findLast((event) => event.startsWith('Mail filtered'));
  if (line !== `Mail filtered:  0 msgs.  ${files} spam.`) throw new Error(line);
  return seconds;
}

// Fetch, save, delete.
async function run(name, delay, most) {
  const count = 2000;
  const dovecot = await Dovecot.start();
  const proxy = delay ? await DelayProxy.start(dovecot.port, delay) : null;
  const port = proxy?.port ?? dovecot.port;
  const mpop = new Mpop(port, dovecot.account);
  const app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${port}` } });
  try {
    await app.login();
    const times = await inTurn(async () => {
      filled(dovecot, count, 4096);
      const seconds = await mpop.fetch(count);
      if (dovecot.files().length > 0) throw new Error('mpop has left messages');
      return seconds;
    }, async () => {
      filled(dovecot, count, 4096);
      fs.rmSync(app.path('spam'), { recursive: true });
      fs.mkdirSync(app.path('spam'));
      const seconds = await filterRun(app, count);
      if (dovecot.files().length > 0) throw new Error('the run has left messages');
      return seconds;
    });
    report({ work: name, peer: 'mpop', peersText: shown(times.peer), oursText: shown(times.ours),
      ratio: times.ours / times.peer, most });
  } finally {
    await app.stop();
    mpop.stop();
    await proxy?.stop();
    await dovecot.stop();
  }
}

const fill = (app, count, bytes) => {
  for (let n = 0; n < count; n++) app.write(`spam/old-${n}.txt`, letter(n, bytes, `o${n}@bench.example`) + '\r\n');
};

async function page() {
  const count = 10000;
  const app = await Application.start();
  try {
    fill(app, count, 4096);
    const names = fs.readdirSync(app.path('spam')).map((name) => app.path(`spam/${name}`));
    await app.login();
    await app.get('/displayspambox.htm?s={s}', { milliseconds: 60000 });
    const times = await inTurn(() => {
      const start = performance.now();
      if (spawnSync('cat', names, { stdio: 'ignore' }).status !== 0) throw new Error('cat');
      return since(start);
    }, async () => {
      const start = performance.now();
      const text = await app.get('/displayspambox.htm?s={s}', { milliseconds: 60000 });
      const seconds = since(start);
      if (!text.includes(` of ${count})`)) throw new Error('the page does not show them all');
      return seconds;
    });
    report({ work: `SpamBox page over ${count} files of 4 KB`, peer: 'cat', peersText: shown(times.peer),
      oursText: shown(times.ours), ratio: times.ours / times.peer, most: 2.0 });
  } finally {
    await app.stop();
  }
}

// Requests a second on four connections that stay open.
async function load(url, host) {
  const seconds = 3;
  // Not execFileSync: what the program says has to be read, or it waits with that.
  const { stdout: said } = await promisify(execFile)('wrk', ['-t', '1', '-c', '4', '-d', `${seconds}s`, '-H', `Host: ${host}`, url]);
  if (/Non-2xx|Socket errors/.test(said)) throw new Error(said);
  return Number(/Requests\/sec:\s+([\d.]+)/.exec(said)[1]);
}

async function gateway() {
  const entries = Array.from({ length: 120 }, (_, n) => `somebody.number-${n}@enemies-${n}.example`);
  const app = await Application.start({ lists: { enemylist: entries } });
  let nginx;
  try {
    await app.login();
    const target = `/displayenemylist.htm?s=${app.sessionId}`;
    const host = `localhost:${app.port}`;
    const body = execFileSync('curl', ['-s', '-g', '-H', `Host: ${host}`, `http://[::1]:${app.port}${target}`]);
    if (!body.includes(entries[99])) throw new Error(`no page: ${body}`);
    nginx = await Nginx.start({ 'page.htm': body });
    const rates = { peer: [], ours: [] };
    for (let n = 0; n < TIMES; n++) {
      rates.peer.push(await load(`http://127.0.0.1:${nginx.port}/page.htm`, 'localhost'));
      rates.ours.push(await load(`http://[::1]:${app.port}${target}`, host));
    }
    const [peer, ours] = [Math.max(...rates.peer), Math.max(...rates.ours)];
    report({ work: `a list page of ${(body.length / 1024).toFixed(0)} KB through the gateway, four connections`, peer: 'nginx',
      peersText: `${peer.toFixed(0)}/s`, oursText: `${ours.toFixed(0)}/s`, ratio: ours / peer, least: 0.12 });
  } finally {
    await app.stop();
    await nginx?.stop();
  }
}

// What a message costs as the SpamBox grows.
async function growth() {
  const cost = async (count, there) => {
    const dovecot = await Dovecot.start();
    const app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${dovecot.port}` } });
    try {
      filled(dovecot, count, 4096);
      fill(app, there, 4096);
      await app.login();
      return await filterRun(app, count + there) / count;
    } finally {
      await app.stop();
      await dovecot.stop();
    }
  };
  const times = await inTurn(() => cost(1000, 0), () => cost(10000, 10000));
  report({ work: 'cost of a message, 10,000 into 10,000', peer: '1,000 into none', peersText: `${(times.peer * 1000).toFixed(3)} ms`,
    oursText: `${(times.ours * 1000).toFixed(3)} ms`, ratio: times.ours / times.peer, most: 1.3 });
}

async function lists() {
  const folder = fs.mkdtempSync(path.join(process.env.TMPDIR ?? '/tmp', 'bench-lists-'));
  try {
    execFileSync(listMatchingBench, [`--write=${folder}`]);
    const times = await inTurn(() => {
      const start = performance.now();
      spawnSync('grep', ['-c', '-F', '-i', '-f', path.join(folder, 'entries'), path.join(folder, 'texts')],
        { env: { ...process.env, LC_ALL: 'C' } });
      return since(start);
    }, () => {
      const said = execFileSync(listMatchingBench, ['--benchmark_filter=matcher', '--benchmark_color=false'], { encoding: 'utf8' });
      const plain = said.replace(/\x1b\[[\d;]*m/g, '');
      return Number(/^matcher, building included\s+([\d.]+) ms/m.exec(plain)[1]) / 1000;
    });
    report({ work: '10,000 list entries x 10,000 messages', peer: 'grep -F -i', peersText: shown(times.peer),
      oursText: shown(times.ours), ratio: times.ours / times.peer, most: 1.0 });
  } finally {
    fs.rmSync(folder, { recursive: true });
  }
}

// The peak of the program's memory, in megabytes, over a run on a scripted server that pipelines.
async function memory() {
  const peak = async (count, bytes, settings) => {
    const server = await MailServer.start({
      messages: Array.from({ length: count }, (_, n) => ({ uid: `bench-${n}`, data: letter(n, bytes, `s${n}@bench.example`) })),
      pop: { pipelining: true },
    });
    const app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}`, ...settings } });
    try {
      await app.login();
      const line = await app.filterMail({ milliseconds: 900000 });
      if (line !== `Mail filtered:  0 msgs.  ${count} spam.`) throw new Error(line);
      const status = fs.readFileSync(`/proc/${app.process.child.pid}/status`, 'utf8');
      return Number(/^VmHWM:\s+(\d+) kB$/m.exec(status)[1]) / 1024;
    } finally {
      await app.stop();
      await server.stop();
    }
  };
  for (const [count, bytes, limit, settings] of [[10000, 2048, 64, {}], [200, 5 << 20, 64 + 10, { MAX_SPAM_SIZE: 30000 }]]) {
    const megabytes = await peak(count, bytes, settings);
    report({ work: `peak memory over ${count} messages of ${bytes >> 10} KB`, peer: 'limit', peersText: `${limit} MB`,
      oursText: `${megabytes.toFixed(1)} MB`, ratio: megabytes / limit, most: 1 });
  }
}

const works = {
  slow: () => run('fetch, save, delete 2,000 messages of 4 KB, 20 ms each way', 20, 1.0),
  near: () => run('the same on loopback', 0, 1.5),
  page, gateway, growth, lists, memory,
};
for (const [name, measure] of Object.entries(works)) {
  if (chosen.length === 0 || chosen.includes(name)) await measure();
}
if (process.env.VORNELLE_BENCH_OUT) fs.writeFileSync(process.env.VORNELLE_BENCH_OUT, JSON.stringify(figures, null, 1) + '\n');
if (missed > 0) {
  console.log(`${missed} of the limits missed`);
  process.exit(1);
}
