// The browsers of a whole run of ctest: each is started once, when the first file of tests asks for it, and the files
// share it. It is a convenience: where no keeper answers, a file starts browsers of its own (browsers.mjs).
//
//   node tests/support/browser_keeper.mjs start     a keeper in the background, gone with the program that has started this
//   node tests/support/browser_keeper.mjs stop
//
// A file asks with one line, the browser's name ("chromium", "firefox dark"), and gets one line: the address at which
// playwright finds it. A browser that has crashed is started anew for whoever asks next. What a file has opened in a
// browser is closed when its connection ends, however that happens.

import { spawn } from 'node:child_process';
import crypto from 'node:crypto';
import fs from 'node:fs';
import net from 'node:net';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

import { KINDS } from './browser_kinds.mjs';
import { repository } from './launcher.mjs';
import { until } from './tools.mjs';

// Where the keeper of this checkout is found: a socket, whose name has to be short.
const address = path.join(os.tmpdir(), `vornelle-browsers-${crypto.createHash('sha1').update(repository).digest('hex').slice(0, 12)}`);

// The keeper's answer to a line, or null where there is none.
async function ask(line) {
  return await new Promise((resolve) => {
    let said = '';
    const socket = net.connect(address, () => socket.write(`${line}\n`));
    socket.on('data', (data) => { said += data; });
    socket.on('error', () => resolve(null));
    socket.on('close', () => resolve(said.trim() || null));
  });
}

// A connection to the shared browser of that name, or null.
export async function sharedBrowser(name) {
  const endpoint = await ask(name);
  return endpoint && await KINDS[name].type.connect(endpoint);
}

function keep(starter) {
  const servers = new Map();  // name: promise of a running browser
  const endpoint = async (name) => {
    if (!servers.has(name)) {
      const { type, options } = KINDS[name];
      const starting = type.launchServer({ ...options, headless: true, timeout: 60000 });
      const forget = () => { if (servers.get(name) === starting) servers.delete(name); };
      servers.set(name, starting);
      starting.then((server) => server.once('close', forget), forget);
    }
    return (await servers.get(name)).wsEndpoint();
  };
  const end = async () => {
    fs.rmSync(address, { force: true });
    await Promise.allSettled([...servers.values()].map(async (server) => (await server).close()));
    process.exit();
  };
  const listener = net.createServer((socket) => {
    socket.on('error', () => {});
    socket.once('data', async (data) => {
      const line = data.toString().trim();
      if (line === 'stop') await end();
      else socket.end(await endpoint(line).catch(() => ''));
    });
  });
  fs.rmSync(address, { force: true });
  listener.listen(address);
  for (const signal of ['SIGINT', 'SIGTERM', 'SIGHUP']) process.once(signal, end);
  // A run that was broken off stops nothing.
  setInterval(() => { if (!fs.existsSync(`/proc/${starter}`)) end(); }, 1000);
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  const [what, starter] = process.argv.slice(2);
  if (what === 'start') {
    await ask('stop');
    spawn(process.execPath, [process.argv[1], 'keep', String(process.ppid)], { detached: true, stdio: 'ignore' }).unref();
    await until(() => fs.existsSync(address), 'the keeper of the browsers', 100000);
  } else if (what === 'stop') {
    await ask('stop');
  } else if (what === 'keep') {
    keep(starter);
  } else {
    throw new Error('start or stop');
  }
}
