// A browser's requests, as far as the gateway can tell.

import http from 'node:http';

// One request on a connection of its own: { status, headers, body, milliseconds }. "{s}" in the target is the live
// session's id; body is Latin-1.
export function ask(app, target, { method = 'GET', body = '', headers = {} } = {}) {
  const began = performance.now();
  return new Promise((resolve, reject) => {
    const request = http.request({ host: '::1', port: app.port, path: target.replace('{s}', app.sessionId), method,
      headers: { Host: `localhost:${app.port}`, 'Sec-Fetch-Site': 'same-origin', 'Content-Length': Buffer.byteLength(body), ...headers } }, (answer) => {
      const pieces = [];
      answer.on('data', (piece) => pieces.push(piece));
      answer.on('end', () => resolve({ status: answer.statusCode, headers: answer.headers,
        body: Buffer.concat(pieces).toString('latin1'), milliseconds: performance.now() - began }));
    });
    request.on('error', reject);
    request.end(body);
  });
}

// What /status.json tells.
export async function statusOf(app) {
  return JSON.parse(Buffer.from((await ask(app, '/status.json?s={s}')).body, 'latin1').toString('utf8'));
}
