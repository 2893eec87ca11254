// The announcement on the login page, fetched through a proxy that the test is.

import assert from 'node:assert/strict';
import http from 'node:http';
import net from 'node:net';
import { describe, test } from 'node:test';

import { Application } from '../support/harness.mjs';

async function withProxy(listener, work) {
  await new Promise((resolve) => listener.listen(0, '127.0.0.1', resolve));
  const app = await Application.start({ environment: { http_proxy: `http://127.0.0.1:${listener.address().port}/`, no_proxy: '' } });
  try {
    await work(app);
  } finally {
    await app.stop();
    listener.closeAllConnections?.();
    listener.close();
  }
}

const block = (text) => `>\r\n<tr><td colspan='2'><p>${text}</p></td></tr><tr><td colspan='2'>&nbsp;</td></tr>`;

describe('announcement', { concurrency: 3 }, () => {
  test('StandsBehindTheFormTagAndInItsFileAndIsFetchedForEveryPage', () => {
    const asked = [];
    let text = 'News & <b>more</b>';
    const server = http.createServer((request, response) => {
      asked.push(request.url);
      response.end(text);
    });
    return withProxy(server, async (app) => {
      const page = await app.get('/');
      assert.match(page, new RegExp(`<form[^>]*${block(text).replace(/[.*+?^${}()|[\]\\]/g, '\\$&')}`, 'i'));
      assert.equal(app.read('message.txt'), text);
      text = 'Other news';
      assert.ok((await app.get('/config.htm')).includes(block(text)), 'on the page for an ended session too');
      assert.deepEqual(asked.map((url) => url.replace(':80/', '/')), Array(2).fill('http://vornelle.example/message.txt'));
    });
  });

  test('IsNotShownWhenItIsAWholePage', () => {
    const server = http.createServer((request, response) => response.end('<!DOCTYPE html><HTML><body>portal</body></HTML>'));
    return withProxy(server, async (app) => {
      const page = await app.get('/');
      assert.match(page, /<form/i);
      assert.ok(!page.includes('portal') && !page.includes('&nbsp;'));
    });
  });

  test('IsTheBodyOfWhateverTheServerAnswers', () => {
    const asked = [];
    const server = http.createServer((request, response) => {
      asked.push(request.url);
      response.writeHead(404, { Location: 'http://vornelle.example/other.txt' });
      response.end('gone');
    });
    return withProxy(server, async (app) => {
      assert.ok((await app.get('/')).includes(block('gone')));
      assert.equal(asked.length, 1);
    });
  });

  test('IsABlockWithoutTextWhereItIsEmpty', () => withProxy(http.createServer((request, response) => response.end('')),
    async (app) => assert.ok((await app.get('/')).includes(block('')))));

  test('ThatNeverComesCostsTwoSecondsAndAnOlderOneIsForgotten', () => withProxy(net.createServer((socket) => {
    socket.on('error', () => {});
  }), async (app) => {
    app.write('message.txt', 'old news');
    const start = Date.now();
    const page = await app.get('/');
    const seconds = (Date.now() - start) / 1000;
    assert.ok(seconds > 1.8 && seconds < 8, `${seconds} s`);
    assert.match(page, /<form/i);
    assert.ok(!page.includes('old news'));
    assert.equal(app.read('message.txt'), '');
  }));
});
