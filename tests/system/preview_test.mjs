// The reader of one message, and that what strangers write is text for a browser and stays raw on the plain wire.

import assert from 'node:assert/strict';
import { after, before, beforeEach, describe, test } from 'node:test';

import { ask as askGateway } from '../support/gateway_http.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { mail } from '../support/mails.mjs';

let app;
let server;
before(async () => {
  server = await MailServer.start();
  app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}`, SMTP_SERVER: `127.0.0.1:${server.smtpPort}`,
    SMTP_USER: 'joe', SMTP_PASSWORD: 'secret' } });
});
after(async () => {
  await app?.stop();
  await server?.stop();
});
beforeEach(async () => {
  server.maildrop.messages = [];
  for (const name of Object.keys(app.spamBox())) app.remove(`spam/${name}`);
  await app.login();
});

const ask = (target, options) => askGateway(app, target, options);

const LETTER = 'From: "Bob <B.>" <bob@spam.example>\r\nTo: joe@home.example\r\nSubject: <b>about & one</b>\r\n' +
  'Date: Mon, 09 Nov 2026 08:12:41 +0000\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n' +
  '--b\r\nContent-Type: text/html\r\n\r\n<p>words <img src="http://127.0.0.1:1/pixel"><script>run()</script></p>\r\n' +
  '--b\r\nContent-Type: application/pdf\r\nContent-Transfer-Encoding: base64\r\n' +
  `Content-Disposition: attachment; filename="../bill <1>.pdf"\r\n\r\n${'QUJD'.repeat(2000)}\r\n--b--\r\n`;

const frameOf = async (page) => await ask('/' + /<iframe[^>]*src="(view\.htm\?v=[A-Z]{32})"/.exec(page)[1]);

describe('the preview', () => {
  for (const [box, title, place] of [['spam', 'SpamBox', 'a saved message'], ['inbox', 'Inbox', 'a message on the server']]) {
    test(`TellsAllOf ${place}`, async () => {
      if (box === 'spam') app.write('spam/one.txt', LETTER + '\r\n');
      else server.maildrop.add({ uid: 'one', data: Buffer.from(LETTER, 'latin1') });
      const { body } = await ask(`/preview.htm?b=${box}&k=one&s={s}`);
      for (const text of ['class="sender">Bob &lt;B.&gt;<', 'class="address">bob@spam.example<', '&lt;b&gt;about &amp; one&lt;/b&gt;</bdi></h1>',
        'class="date">11-09-2026 ', 'bill &lt;1&gt;.pdf <small>6K</small>', '1 picture that the message would fetch', `>${title}</a>`,
        'v=source">Show the source</a>', '>Friend</button>', '>Enemy</button>', '>Restore</button>', '>Delete</button>',
        `data-box="${box}"`]) {
        assert.ok(body.includes(text), `${text} in ${body.slice(-6000)}`);
      }
      assert.match(body, /class="size">\d+K</);
      const frame = await frameOf(body);
      assert.match(frame.body, /<p>words/);
      assert.doesNotMatch(frame.body, /<img|<script|run\(\)/);
      assert.match(frame.headers['content-security-policy'], /^sandbox allow-popups allow-popups-to-escape-sandbox; default-src 'none'/);
      assert.equal(frame.headers['x-frame-options'], 'SAMEORIGIN');
      const source = await frameOf((await ask(`/preview.htm?b=${box}&k=one&v=source&s={s}`)).body);
      assert.match(source.body, /&lt;script&gt;run\(\)/);
      assert.doesNotMatch(source.body, /<script/);
    });
  }

  test('LeadsToThePreviousAndTheNextMessageOfTheList', async () => {
    for (const name of ['one', 'two', 'three']) app.write(`spam/${name}.txt`, mail({ subject: name }).toString('latin1'));
    const list = (await ask('/displayspambox.htm?s={s}')).body;
    const keys = [...list.matchAll(/<a href='preview\.htm\?b=spam&(?:amp;)?k=(\w+)&s=[A-Z]{64}'/g)].map((found) => found[1]);
    assert.equal(keys.length, 3);
    const around = async (key) => /class="around">(.*?)<\/p>/s.exec((await ask(`/preview.htm?b=spam&k=${key}&s={s}`)).body)[1];
    const first = await around(keys[0]);
    assert.match(first, /<span>Previous<\/span>/);
    assert.match(first, new RegExp(`k=${keys[1]}&[^>]*>Next</a>`));
    assert.match(await around(keys[2]), new RegExp(`k=${keys[1]}&[^>]*>Previous</a> <span>Next</span>`));
  });

  test('DeletesRestoresAndAddsToTheLists', async () => {
    app.write('spam/one.txt', LETTER + '\r\n');
    await ask('/displayspambox.htm?s={s}');
    const act = (what) => ask('/preview.cgi?s={s}', { method: 'POST', body: `b=spam&k=one&sender=bob@spam.example&act=${what}&END=1` });
    await act('restore');
    assert.equal(server.maildrop.messages.length, 1);
    assert.ok(app.exists('spam/one.txt'), 'the file stays');
    await act('delete');
    assert.ok(!app.exists('spam/one.txt'));
    for (const [page, list] of [['add2white', 'friendlist'], ['add2black', 'enemylist']]) {
      await ask(`/${page}.cgi?s={s}`, { method: 'POST', body: 'addtolist=bob@spam.example&END=1' });
      assert.match(app.read(`data/${list}.txt`), /bob@spam\.example/);
    }
  });

  test('IsUnknownToThePlainWire', async () => {
    app.write('spam/one.txt', LETTER);
    for (const page of ['preview.htm?b=spam&k=one&s={s}', 'preview.cgi?b=spam&k=one&act=delete&s={s}', 'status.json?s={s}']) {
      assert.match(await app.get(`/${page}`), /Unrecognized page/);
    }
    assert.ok(app.exists('spam/one.txt'));
  });
});

const HOSTILE = "<a href=//127.11 title='<!--SSSESSION-->";

test('WhatStrangersWriteIsTextForABrowserAndRawOnThePlainWire', async () => {
  app.write('spam/one.txt', mail({ subject: HOSTILE, from: '<i>Eve</i> <eve@evil.example>' }).toString('latin1'));
  server.maildrop.add({ uid: 'in', data: mail({ subject: HOSTILE }) });
  app.write('data/subjectlist.txt', `${HOSTILE}\r\n`);
  const shown = HOSTILE.slice(0, 35);
  const asText = shown.replaceAll('<', '&lt;').replaceAll('>', '&gt;').replaceAll("'", '&#39;');
  for (const page of ['displayspambox.htm', 'displayinbox.htm', 'displaysubjectlist.htm']) {
    const { body } = await ask(`/${page}?s={s}`);
    assert.ok(body.includes(asText.slice(0, 40)), page);
    assert.ok(!body.includes(shown.slice(0, 20)), page);
    assert.ok((await app.get(`/${page}?s={s}`)).includes(shown.slice(0, 20)), page);
  }
  const found = await ask(`/findinlists.htm?s={s}&findinlists=${encodeURIComponent('<a href')}&END=1`);
  assert.ok(!found.body.includes('<a href=//127'));
});
