// Servers for the tests of TLS: one that speaks it, one that is openssl's own test server, and a line between them and the
// client that is cut, held up or changed at a given byte.

import { spawn } from 'node:child_process';
import net from 'node:net';
import tls from 'node:tls';

import { freePort, keepChild, listening } from './tools.mjs';

// Node's TLS takes weak certificates and old versions at this level only.
const EVERYTHING = 'ALL:@SECLEVEL=0';

const listen = (server, host = '127.0.0.1') => new Promise((resolve, reject) => {
  server.once('error', reject);
  server.listen(0, host, () => resolve(server.address().port));
});

// options: certificate (of Certificates), talk(socket) for what is said on a secured line ("hello\r\n" unless given), and
// those of tls.createServer. Returns { port, connections, close }; each connection: { servername, protocol }.
export async function serveTls({ certificate, talk = (socket) => socket.write('hello\r\n'), ...options }) {
  const connections = [];
  const sockets = new Set();
  const server = tls.createServer({ key: certificate.key, cert: certificate.chain, ciphers: EVERYTHING,
    minVersion: 'TLSv1.2', ...options }, (socket) => {
    connections.push({ servername: socket.servername, protocol: socket.getProtocol() });
    socket.on('error', () => {});
    talk(socket);
  });
  server.on('tlsClientError', () => {});
  server.on('connection', (socket) => {
    socket.setNoDelay(true);
    sockets.add(socket);
    socket.on('error', () => {});
    socket.once('close', () => sockets.delete(socket));
  });
  const port = await listen(server);
  return {
    port, connections,
    close() {
      server.close();
      for (const socket of sockets) socket.destroy();
    },
  };
}

// A server in plain text. talk(socket).
export async function servePlain(talk = () => {}) {
  const sockets = new Set();
  const server = net.createServer((socket) => {
    sockets.add(socket);
    socket.on('error', () => {});
    socket.once('close', () => sockets.delete(socket));
    talk(socket);
  });
  const port = await listen(server);
  return {
    port,
    close() {
      server.close();
      for (const socket of sockets) socket.destroy();
    },
  };
}

// openssl's own test server, for what Node does not do. say(line) goes to its standard input: "K" and "k" are key updates, "R"
// and "r" ask for a renegotiation, "Q" ends it.
export async function serveOpenssl(certificate, ...args) {
  const port = await freePort();
  const { file, base } = certificate;
  const child = keepChild(spawn('openssl', ['s_server', '-accept', `127.0.0.1:${port}`, '-cert', file, '-key', `${base}.key`,
    '-naccept', '100', ...args], { stdio: ['pipe', 'pipe', 'pipe'] }));
  let said = '';
  for (const pipe of [child.stdout, child.stderr]) pipe.on('data', (data) => { said += data.toString('latin1'); });
  child.stdin.on('error', () => {});
  await listening(port, 'openssl s_server');
  return { port, child, said: () => said, say: (text) => child.stdin.write(text), close: () => child.kill() };
}

// A line to the server at that port. Of what the server says, `upTo` bytes pass on every connection; then the line is cut
// ("cut"), reset ("reset") or falls silent ("silence"). The byte at `flip` has a bit turned. `pieces`: how many bytes go at a time,
// `pause` milliseconds behind the ones before. Returns { port, close, passed (bytes, of the last connection), renew(options)
// (ends all connections, and those that follow do as these options say) }.
export async function lineTo(target, options) {
  const sockets = new Set();
  const line = { passed: 0 };
  line.renew = (renewed) => {
    options = renewed;
    line.passed = 0;
    for (const socket of sockets) socket.destroy();
  };
  const server = net.createServer((near) => {
    const { upTo = Infinity, then = 'cut', flip = -1, pieces = Infinity, pause = 0 } = options ?? {};
    const far = net.connect(target, '127.0.0.1');
    for (const socket of [near, far]) {
      sockets.add(socket);
      socket.setNoDelay(true);
      socket.on('error', () => {});
      socket.once('close', () => sockets.delete(socket));
    }
    line.passed = 0;
    let over = false;
    let sending = Promise.resolve();
    const send = async (bytes) => {
      for (let at = 0; at < bytes.length && !near.destroyed; at += pieces) {
        near.write(bytes.subarray(at, at + pieces));
        if (pause) await new Promise((resolve) => setTimeout(resolve, pause));
      }
    };
    const end = () => {
      over = true;
      sending = sending.then(() => {
        if (then === 'cut') near.end();
        if (then === 'reset') near.resetAndDestroy();
      });
    };
    far.on('data', (chunk) => {
      if (over) return;
      const bytes = Buffer.from(chunk.subarray(0, upTo - line.passed));
      if (flip >= line.passed && flip < line.passed + bytes.length) bytes[flip - line.passed] ^= 0x10;
      line.passed += bytes.length;
      if (pieces === Infinity) near.write(bytes);
      else sending = sending.then(() => send(bytes));
      if (line.passed >= upTo) end();
    });
    far.on('end', () => { if (!over) sending.then(() => near.end()); });
    near.on('data', (chunk) => far.write(chunk));
    near.on('end', () => far.end());
    near.on('close', () => far.destroy());
    if (upTo === 0) end();
  });
  line.port = await listen(server);
  line.close = () => {
    server.close();
    for (const socket of sockets) socket.destroy();
  };
  return line;
}
