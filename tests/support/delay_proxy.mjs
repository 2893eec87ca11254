// A proxy on loopback that holds back what passes through it, each direction by the same time: a slow line.
//
//   const proxy = await DelayProxy.start(server.popPort, 20);   // 20 ms each way
//   ... connect to proxy.port ...
//
// With a pace what the server says trickles, until the proxy's pace is taken away again.
//
// As a program: node tests/support/delay_proxy.mjs --to PORT [--delay MS] [--port PORT]; it prints "port N".

import net from 'node:net';
import { pathToFileURL } from 'node:url';
import { parseArgs } from 'node:util';

// Passes on every piece in order, each of them `delay` ms after it came, the end of the line included. While proxy.pace is
// given, no more than so many bytes go on in a turn, and a turn takes TURN.
const TURN = 50;  // milliseconds

function relay(from, to, delay, proxy) {
  let sending = Promise.resolve();
  const send = async (data) => {
    for (let at = 0; at < data.length && to.writable;) {
      const size = proxy.pace ?? data.length;
      to.write(data.subarray(at, at + size));
      at += size;
      if (proxy.pace) await new Promise((resolve) => setTimeout(resolve, TURN));
    }
  };
  from.on('data', (data) => setTimeout(() => { sending = sending.then(() => send(data)); }, delay));
  from.on('end', () => setTimeout(() => sending.then(() => to.end()), delay));
  from.on('error', () => to.destroy());
  from.on('close', () => setTimeout(() => to.destroy(), delay * 2 + 1000).unref());
}

export class DelayProxy {
  static async start(target, delay, { port = 0, pace } = {}) {
    const proxy = new DelayProxy();
    proxy.pace = pace;
    proxy.sockets = new Set();
    proxy.connections = 0;
    proxy.listener = net.createServer({ allowHalfOpen: true }, (client) => {
      proxy.connections++;
      const server = net.connect({ port: target, host: '127.0.0.1', allowHalfOpen: true });
      for (const socket of [client, server]) {
        socket.setNoDelay(true);
        proxy.sockets.add(socket);
        socket.on('close', () => proxy.sockets.delete(socket));
      }
      relay(client, server, delay, {});
      relay(server, client, delay, proxy);
    });
    await new Promise((resolve) => proxy.listener.listen(port, '127.0.0.1', resolve));
    proxy.port = proxy.listener.address().port;
    return proxy;
  }

  async stop() {
    for (const socket of this.sockets) socket.destroy();
    await new Promise((resolve) => this.listener.close(resolve));
  }
}

if (process.argv[1] && import.meta.url === pathToFileURL(process.argv[1]).href) {
  const { values } = parseArgs({
    options: { to: { type: 'string' }, delay: { type: 'string', default: '20' }, port: { type: 'string', default: '0' } },
  });
  const proxy = await DelayProxy.start(Number(values.to), Number(values.delay), { port: Number(values.port) });
  console.log(`port ${proxy.port}`);
  for (const signal of ['SIGINT', 'SIGTERM']) process.on(signal, () => process.exit(0));
}
