// A client of the program's plain wire: one request in one write, and everything that comes back until the other side
// closes. There is no status line and there are no headers in an answer; text is Windows-1252, kept as Latin-1 here.

import net from 'node:net';

// Sends the text as it is (Latin-1, or a Buffer) and resolves with the answer as a Buffer. Fails when the line breaks
// or does not end in time.
export function exchange(port, text, { host = '127.0.0.1', milliseconds = 60000 } = {}) {
  return new Promise((resolve, reject) => {
    const pieces = [];
    const socket = net.connect(port, host);
    const timer = setTimeout(() => {
      socket.destroy();
      reject(new Error(`no end of the answer within ${milliseconds} ms to: ${String(text).split('\r\n')[0]}`));
    }, milliseconds);
    socket.on('connect', () => socket.write(Buffer.isBuffer(text) ? text : Buffer.from(text, 'latin1')));
    socket.on('data', (data) => pieces.push(data));
    socket.on('error', (error) => { clearTimeout(timer); reject(error); });
    socket.on('end', () => { clearTimeout(timer); resolve(Buffer.concat(pieces)); });
  });
}

const headers = (port) => `Host: 127.0.0.1:${port}\r\nUser-Agent: test\r\nAccept: */*\r\n`;

export async function get(port, path, options) {
  return (await exchange(port, `GET ${path} HTTP/1.0\r\n${headers(port)}\r\n`, options)).toString('latin1');
}

// fields: an object, or the form's body as text. Names and values go out as they are: encoding is the test's matter.
export async function post(port, path, fields, options) {
  const body = typeof fields === 'string' ? fields
    : Object.entries(fields).map(([name, value]) => `${name}=${value}`).join('&');
  const request = `POST ${path} HTTP/1.0\r\n${headers(port)}Content-Type: application/x-www-form-urlencoded\r\n` +
    `Content-Length: ${body.length}\r\n\r\n${body}`;
  return (await exchange(port, request, options)).toString('latin1');
}

// The target of a page that is nothing but a redirect by script; null for any other page.
export function redirectTarget(page) {
  return /^<script language='Javascript'>.*?window\.location='([^']*)'<\/script>\r\n$/.exec(page)?.[1] ?? null;
}
