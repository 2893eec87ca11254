// Small helpers that the other support files share.

import fs from 'node:fs';
import net from 'node:net';
import os from 'node:os';
import path from 'node:path';

// A folder of its own for a test or a server; it goes when the process ends, whatever ended it.
const folders = new Set();
export function temporaryFolder(name = 'vornelle') {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), `${name}-`));
  folders.add(folder);
  return folder;
}

export function removeFolder(folder) {
  folders.delete(folder);
  fs.rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
}

// Children that a test started and that must not outlive it. One that has children of its own gets SIGTERM, so that it
// can end them.
const children = new Map();
export function keepChild(child, signal = 'SIGKILL') {
  children.set(child, signal);
  child.once('exit', () => children.delete(child));
  return child;
}

process.on('exit', () => {
  for (const [child, signal] of children) child.kill(signal);
  for (const folder of folders) fs.rmSync(folder, { recursive: true, force: true });
});
for (const signal of ['SIGINT', 'SIGTERM', 'SIGHUP']) process.once(signal, () => process.exit(1));

// Resolves with the first true value of the condition (a function, it may be asynchronous); fails after the time. What
// was waited for may be a function too, for a text that is only worth making then.
export async function until(condition, what = 'the condition', milliseconds = 10000) {
  const end = Date.now() + milliseconds;
  for (;;) {
    const value = await condition();
    if (value) return value;
    if (Date.now() > end) throw new Error(`${typeof what === 'function' ? what() : what}: not within ${milliseconds} ms`);
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}

// A port that nobody has at the moment on any address of the machine. Ports that were given out once are not given
// out again by the same process.
const given = new Set();
export async function freePort() {
  for (;;) {
    const listener = net.createServer();
    await new Promise((resolve, reject) => listener.once('error', reject).listen(0, '0.0.0.0', resolve));
    const { port } = listener.address();
    await new Promise((resolve) => listener.close(resolve));
    if (given.has(port)) continue;
    given.add(port);
    return port;
  }
}

// Resolves when something accepts connections there.
export async function listening(port, what, milliseconds = 15000) {
  await until(() => new Promise((resolve) => {
    const socket = net.connect(port, '127.0.0.1');
    socket.once('connect', () => { socket.destroy(); resolve(true); });
    socket.once('error', () => resolve(false));
  }), what, milliseconds);
}

// A text protocol spoken by hand: what the server says to these lines, to the end of the line.
export async function converse(port, lines, { host = '127.0.0.1', milliseconds = 20000 } = {}) {
  return await new Promise((resolve, reject) => {
    const pieces = [];
    const socket = net.connect(port, host);
    const timer = setTimeout(() => { socket.destroy(); reject(new Error('no end of the answer')); }, milliseconds);
    socket.on('data', (data) => pieces.push(data));
    socket.on('error', () => {});
    socket.on('close', () => { clearTimeout(timer); resolve(Buffer.concat(pieces).toString('latin1')); });
    socket.write(lines.map((line) => line + '\r\n').join(''));
  });
}

export function isRoot() {
  return process.getuid?.() === 0;
}
