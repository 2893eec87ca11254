// The gateway of the real program, spoken to byte by byte over [::1].

import assert from 'node:assert/strict';
import fs from 'node:fs';
import net from 'node:net';
import { after, before, beforeEach, describe, test } from 'node:test';

import { DelayProxy } from '../support/delay_proxy.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { smallMailbox } from '../support/mails.mjs';
import { until } from '../support/tools.mjs';

let app;
let server;
let slow;
before(async () => {
  server = await MailServer.start({ messages: smallMailbox() });
  slow = await DelayProxy.start(server.popPort, 200);
  app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${slow.port}`, TEST_MODE: 'TRUE' } });
});
after(async () => {
  await app?.stop();
  await slow?.stop();
  await server?.stop();
});

// A connection to the gateway that takes answers one after the other.
class Client {
  static async open() {
    const client = new Client();
    client.received = Buffer.alloc(0);
    client.ended = false;
    client.wake = () => {};
    client.socket = net.connect(app.port, '::1');
    client.socket.setNoDelay(true);
    client.socket.on('data', (data) => { client.received = Buffer.concat([client.received, data]); client.wake(); });
    client.socket.on('error', () => {});
    client.socket.on('close', () => { client.ended = true; client.wake(); });
    await new Promise((resolve) => client.socket.once('connect', resolve));
    return client;
  }

  send(text) { this.socket.write(Buffer.isBuffer(text) ? text : Buffer.from(text, 'latin1')); return this; }

  // Whether a whole answer stands in what was received; { status, fields, body } or null.
  take(headOnly) {
    const end = this.received.indexOf('\r\n\r\n');
    if (end < 0) return null;
    const [line, ...rest] = this.received.subarray(0, end).toString('latin1').split('\r\n');
    const fields = Object.fromEntries(rest.map((field) => [field.slice(0, field.indexOf(':')).toLowerCase(), field.slice(field.indexOf(':') + 2)]));
    const length = headOnly || line.includes(' 100 ') ? 0 : Number(fields['content-length']);
    assert.ok(Number.isInteger(length), line);
    if (this.received.length < end + 4 + length) return null;
    const body = this.received.subarray(end + 4, end + 4 + length).toString('latin1');
    this.received = this.received.subarray(end + 4 + length);
    return { status: Number(line.split(' ')[1]), line, fields, body };
  }

  async answer({ headOnly = false, milliseconds = 60000 } = {}) {
    const limit = Date.now() + milliseconds;
    for (;;) {
      const found = this.take(headOnly);
      if (found) return found;
      assert.ok(!this.ended, `no whole answer before the end: ${this.received.toString('latin1')}`);
      assert.ok(Date.now() < limit, `no whole answer in time: ${this.received.toString('latin1')}`);
      await new Promise((resolve) => {
        const timer = setTimeout(resolve, 1000);
        this.wake = () => { clearTimeout(timer); resolve(); };
      });
    }
  }

  async end() { await until(() => this.ended, 'the end of the connection'); }
  close() { this.socket.destroy(); }
}

const get = (target, fields = '') => `GET ${target} HTTP/1.1\r\nHost: localhost:${app.port}\r\n${fields}\r\n`;
const post = (target, body, fields = '') =>
  `POST ${target} HTTP/1.1\r\nHost: localhost:${app.port}\r\nContent-Length: ${body.length}\r\n${fields}\r\n${body}`;

// One request on a connection of its own.
async function ask(text, options) {
  const client = await Client.open();
  try {
    return await client.send(text).answer(options);
  } finally {
    client.close();
  }
}

const isLoginPage = (body) => /<form[^]*POP_ACCOUNT[^]*POP_PASSWORD/i.test(body);

describe('answers', () => {
  test('APageIsWhatThePlainWireGivesWithLengthTypeAndSecurityFields', async () => {
    const answer = await ask(get('/'));
    assert.equal(answer.line, 'HTTP/1.1 200 OK');
    // The plain wire has no guide to link to.
    assert.equal(answer.body.replace('href="guide.htm"', 'href=""'), await app.get('/'));
    assert.equal(answer.fields['content-type'], 'text/html; charset=windows-1252');
    for (const [name, value] of [['x-content-type-options', 'nosniff'], ['referrer-policy', 'no-referrer'],
      ['cache-control', 'no-store'], ['x-frame-options', 'DENY']]) assert.equal(answer.fields[name], value);
    assert.match(answer.fields['content-security-policy'], /^default-src 'none'/);
  });

  test('AMessageIsShownInASandboxAtAnAddressWithoutTheSession', async () => {
    await app.login();
    app.write('spam/one.txt', 'Subject: x\r\n\r\ny\r\n');
    for (const target of ['/displayemail.cgi?uidl=one&s=', '/DisplaySpam.cgi?fn=one.txt&s=']) {
      const moved = await ask(get(target + app.sessionId));
      assert.equal(moved.status, 303);
      assert.match(moved.fields.location, /^\/view\.htm\?v=[A-Z]{32}$/);
      const before = app.log();
      const policy = (await ask(get(moved.fields.location))).fields['content-security-policy'];
      assert.match(policy, /^sandbox; default-src 'none'/);
      assert.doesNotMatch(policy, /allow-|script-src/);
      assert.equal(app.log(), before, 'a view is not logged');
    }
  });

  // A browser encodes the blank of the first key, and the second key is spelled like that.
  test('OpenByItselfShowsThatMessageWhateverItsKey', async () => {
    await app.login();
    // What is shown is decoded as a whole, so the texts hold nothing that could be.
    const letters = { 'a b': 'blank', 'a%20b': 'once', 'a%2520b': 'twice', "a'&#b": 'signs' };
    for (const [key, text] of Object.entries(letters)) app.write(`spam/${key}.txt`, `Subject: x\r\n\r\nletter ${text}\r\n`);
    for (const [key, text] of Object.entries(letters)) {
      const page = (await ask(get(`/preview.htm?b=spam&k=${encodeURIComponent(key)}&s=${app.sessionId}`))).body;
      const link = /<a href="([^"]*)"[^>]*>Open by itself/.exec(page)[1].replaceAll('&amp;', '&');
      const { pathname, search } = new URL(link, 'http://localhost/');
      const shown = async () => (await ask(get((await ask(get(pathname + search))).fields.location))).body;
      assert.ok((await shown()).includes(`letter ${text}`), link);
      app.remove(`spam/${key}.txt`);
      assert.doesNotMatch(await shown(), /letter/, link);
    }
  });

  test('TheIconHasItsType', async () => {
    const answer = await ask(get('/vornelle.ico'));
    assert.equal(answer.fields['content-type'], 'image/x-icon');
    assert.equal(answer.body, fs.readFileSync(app.path('data/vornelle.ico'), 'latin1') + '\r\n');
  });

  test('TheGuideAndItsPicturesAreShownToEverybodyAndNothingBesideThem', async () => {
    const before = app.log();
    const guide = await ask(get('/guide.htm'));
    assert.equal(guide.fields['content-type'], 'text/html; charset=utf-8');
    assert.equal(guide.body, fs.readFileSync(app.path('data/guide.htm'), 'latin1'));
    assert.match(guide.fields['content-security-policy'], /^default-src 'none'; style-src 'unsafe-inline'; img-src 'self';/);
    const pictures = [...guide.body.matchAll(/<img src="([^"]*)"/g)].map(([, name]) => name);
    assert.ok(pictures.length > 0);
    assert.deepEqual([...new Set(pictures)].sort(), fs.readdirSync(app.path('data/guide')).map((name) => `guide/${name}`).sort());
    for (const name of pictures) {
      const picture = await ask(get(`/${name}`));
      assert.equal(picture.fields['content-type'], 'image/webp');
      assert.equal(picture.body, fs.readFileSync(app.path(`data/${name}`), 'latin1'));
    }
    for (const target of ['/guide/../friendlist.txt', '/guide/..\\friendlist.txt', '/guide/..%2ffriendlist.txt', '/guide/', '/guide/x.webp',
      '/guide/../../Vornelle.ini', '/guide/..\\..\\Vornelle.ini']) {
      assert.equal((await ask(get(target))).status, 404, target);
    }
    assert.equal(app.log(), before, 'none of it is logged');
    assert.ok(isLoginPage(await app.get('/guide.htm')), 'the plain wire knows no guide');
    assert.match((await ask(get('/'))).body, /href="guide\.htm"/);
    assert.doesNotMatch(await app.get('/'), /guide\.htm/);
  });

  test('HeadGivesTheHeaderAlone', async () => {
    const client = await Client.open();
    const whole = await client.send(get('/')).answer();
    const head = await client.send(get('/').replace('GET', 'HEAD')).answer({ headOnly: true });
    assert.equal(head.status, 200);
    assert.equal(head.fields['content-length'], whole.fields['content-length']);
    assert.equal((await client.send(get('/vornelle.ico')).answer()).fields['content-type'], 'image/x-icon');
    client.close();
  });

  test('AConnectionIsKeptUntilItIsAskedToClose', async () => {
    const client = await Client.open();
    for (let i = 0; i < 5; i++) {
      const answer = await client.send(get('/')).answer();
      assert.equal(answer.fields.connection, 'keep-alive');
    }
    assert.equal((await client.send(get('/', 'Connection: close\r\n')).answer()).fields.connection, 'close');
    await client.end();
  });

  test('AnOldClientIsClosedUnlessItAsksToBeKept', async () => {
    const old = (fields) => `GET / HTTP/1.0\r\nHost: localhost\r\n${fields}\r\n`;
    const client = await Client.open();
    assert.equal((await client.send(old('Connection: keep-alive\r\n')).answer()).fields.connection, 'keep-alive');
    assert.equal((await client.send(old('')).answer()).fields.connection, 'close');
    await client.end();
  });
});

describe('requests', () => {
  test('PipelinedRequestsAreAnsweredInTheirOrder', async () => {
    await app.login();
    const client = await Client.open();
    const names = Array.from({ length: 40 }, (_, i) => `page${i}`);
    client.send(names.map((name) => get(`/${name}.htm?s=${app.sessionId}`)).join(''));
    for (const name of names) assert.match((await client.answer()).body, new RegExp(`Unrecognized page: ${name}\\.htm`));
    client.close();
  });

  test('ARequestSplitAtAnyByteIsReadTheSame', async () => {
    await app.login();
    const text = post(`/addtolist.cgi?s=${app.sessionId}`, 'addtolist=ab&type=EnemyList&END=1');
    for (let at = 1; at < text.length; at++) {
      const client = await Client.open();
      client.send(text.slice(0, at));
      await new Promise((resolve) => setImmediate(resolve));
      assert.match((await client.send(text.slice(at)).answer()).body, /displayEnemyList\.htm/, `split at ${at}`);
      client.close();
    }
    assert.equal(app.read('data/enemylist.txt'), 'ab\r\n');
  });

  test('ARequestThatComesByteByByteIsRead', async () => {
    const client = await Client.open();
    for (const byte of get('/')) {
      client.send(byte);
      await new Promise((resolve) => setImmediate(resolve));
    }
    assert.ok(isLoginPage((await client.answer()).body));
    client.close();
  });

  test('ALargeFormArrivesWhole', async () => {
    await app.login();
    const boxes = Array.from({ length: 10000 }, (_, i) => `D${i}=1&`).join('');
    const filler = `X=${'y'.repeat(160000)}&`;
    for (const name of ['aa', 'bb']) app.write(`spam/${name}.txt`, `From: <${name}@x.example>\r\nSubject: ${name}\r\n\r\nx\r\n`);
    await app.get('/displayspambox.htm?s={s}');
    const body = `${filler}SUBMIT3=RESTORE-DELETE&${boxes}END=1`;
    assert.ok(body.length > 200000);
    const client = await Client.open();
    const text = post(`/deleterestore.cgi?s=${app.sessionId}`, body);
    for (let at = 0; at < text.length; at += 30011) {
      client.send(text.slice(at, at + 30011));
      await new Promise((resolve) => setTimeout(resolve, 5));
    }
    assert.match((await client.answer({ milliseconds: 60000 })).body, /displayspambox\.htm/);
    client.close();
    assert.deepEqual(Object.keys(app.spamBox()), []);
  });

  test('ContinueIsSaidBeforeTheBodyAndNotBeforeARefusal', async () => {
    const body = 'POP_ACCOUNT=joe&POP_PASSWORD=secret&END=1';
    const whole = post('/login.cgi', body, 'Expect: 100-continue\r\n');
    const client = await Client.open();
    assert.equal((await client.send(whole.slice(0, -body.length)).answer()).status, 100);
    assert.match((await client.send(body).answer()).body, /displaySpambox\.htm/);
    client.close();
    const foreign = whole.replace(/localhost:\d+/, 'evil.example');
    assert.equal((await ask(foreign.slice(0, -body.length))).status, 421);
  });

  test('AnAbsoluteTargetIsTakenApart', async () => {
    assert.ok(isLoginPage((await ask(get(`http://localhost:${app.port}/`))).body));
    assert.ok(isLoginPage((await ask(get(`http://[::1]:${app.port}/index.htm`, ''))).body));
    assert.equal((await ask(get('http://evil.example/'))).status, 421);
  });

  for (const host of ['localhost', '127.0.0.1', '[::1]']) {
    test(`${host}IsThisMachineWithAndWithoutThePort`, async () => {
      for (const name of [host, `${host}:${app.port}`, `${host.toUpperCase()}:${app.port}`]) {
        assert.equal((await ask(`GET / HTTP/1.1\r\nHost: ${name}\r\n\r\n`)).status, 200, name);
      }
      assert.equal((await ask(`GET / HTTP/1.1\r\nHost: ${host}:${app.port + 1}\r\n\r\n`)).status, 421);
    });
  }

  for (const [what, text, status] of [
    ['AnotherName', 'GET / HTTP/1.1\r\nHost: vornelle.example\r\n\r\n', 421],
    ['ANameThatBeginsLikeOurs', 'GET / HTTP/1.1\r\nHost: localhost.evil.example\r\n\r\n', 421],
    ['NoHost', 'GET / HTTP/1.1\r\n\r\n', 400],
    ['TwoHosts', 'GET / HTTP/1.1\r\nHost: localhost\r\nHost: localhost\r\n\r\n', 400],
    ['NoRequestAtAll', 'hello\r\n\r\n', 400],
    ['TlsByMistake', '\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n', 400],
    ['AFieldWithoutAColon', 'GET / HTTP/1.1\r\nHost: localhost\r\nnonsense\r\n\r\n', 400],
    ['ABlankBeforeTheColon', 'GET / HTTP/1.1\r\nHost : localhost\r\n\r\n', 400],
    ['TwoLengths', 'POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\nab', 400],
    ['ALengthThatIsNone', 'POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: -1\r\n\r\n', 400],
    ['AnUnknownMethod', 'DELETE / HTTP/1.1\r\nHost: localhost\r\n\r\n', 405],
    ['AChunkedBody', 'POST / HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n', 411],
    ['ABodyBeyondEightMegabytes', 'POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 8388609\r\n\r\n', 413],
    ['ATargetBeyondTheHeaderLimit', `GET /${'a'.repeat(70000)} HTTP/1.1\r\nHost: localhost\r\n\r\n`, 414],
    ['AHeaderBeyondItsLimit', `GET / HTTP/1.1\r\nHost: localhost\r\nX: ${'a'.repeat(70000)}\r\n\r\n`, 431],
    ['AnUnknownExpectation', 'GET / HTTP/1.1\r\nHost: localhost\r\nExpect: tea\r\n\r\n', 417],
    ['AnotherVersion', 'GET / HTTP/2.0\r\nHost: localhost\r\n\r\n', 505],
  ]) {
    test(`${what}Is${status}`, async () => {
      const before = app.log();
      assert.equal((await ask(text)).status, status);
      assert.equal(app.log(), before, 'nothing of it reached the program');
      assert.equal((await ask(get('/'))).status, 200);
    });
  }

  test('AnotherSiteMayOnlyAskForTheStartPage', async () => {
    await app.login();
    const foreign = 'Sec-Fetch-Site: cross-site\r\n';
    for (const target of ['/UNLOADME', '/logout.cgi', '/vornelle.ico', `/config.htm?s=${app.sessionId}`, '/login.cgi']) {
      assert.equal((await ask(get(target, foreign))).status, 403, target);
    }
    assert.equal((await ask(post('/index.htm', 'a=1&END=1', foreign))).status, 403);
    assert.equal((await ask(post('/login.cgi', 'a=1&END=1', 'Origin: http://evil.example\r\n'))).status, 403);
    assert.equal((await ask(get('/', foreign))).status, 200);
    assert.match(await app.get('/x.htm?s={s}'), /Unrecognized page/);
  });
});

// What /proc tells, in KB.
const memory = () => Number(/VmRSS:\s+(\d+)/.exec(fs.readFileSync(`/proc/${app.process.child.pid}/status`, 'utf8'))[1]);
const openFiles = () => fs.readdirSync(`/proc/${app.process.child.pid}/fd`).length;

describe('many', () => {
  beforeEach(() => app.login());

  test('SpareConnectionsThatSendNothingHoldNobodyUp', async () => {
    const files = openFiles();
    const spare = await Promise.all(Array.from({ length: 60 }, () => Client.open()));
    for (let i = 0; i < 20; i++) assert.equal((await ask(get('/'))).status, 200);
    assert.equal((await spare[30].send(get('/')).answer()).status, 200);
    for (const client of spare) client.close();
    await until(() => openFiles() <= files + 2, 'the connections to be gone');
  });

  test('WhileASlowActionRunsSixtyFourWaitAndTheNextIsTurnedAway', async () => {
    const first = await Client.open();
    const sessions = server.pop.sessions.length;
    first.send(get(`/displayinbox.htm?s=${app.sessionId}`));
    await until(() => server.pop.sessions.length > sessions, 'the fetch');
    const waiting = [];
    for (let i = 0; i < 70; i++) {
      const client = await Client.open();
      waiting.push(client.send(get(`/addtolist.cgi?s=${app.sessionId}&addtolist=e${i}@x.example&type=EnemyList&END=1`)));
    }
    assert.match((await first.answer()).body, /<title>Inbox/);
    const answers = await Promise.all(waiting.map((client) => client.answer()));
    assert.deepEqual(answers.map((answer) => answer.status), [...Array(64).fill(200), ...Array(6).fill(503)]);
    answers.slice(0, 64).forEach((answer) => assert.match(answer.body, /displayEnemyList\.htm/));
    assert.ok(answers[69].fields['retry-after']);
    for (const client of [first, ...waiting]) client.close();
  });

  test('ABrowserThatGoesAwayIsDroppedFromTheQueue', async () => {
    const first = await Client.open();
    const sessions = server.pop.sessions.length;
    first.send(get(`/displayinbox.htm?s=${app.sessionId}`));
    await until(() => server.pop.sessions.length > sessions, 'the fetch');
    const away = await Client.open();
    const patient = await Client.open();
    const add = (name) => get(`/addtolist.cgi?s=${app.sessionId}&addtolist=${name}@x.example&type=EnemyList&END=1`);
    away.send(add('away'));
    patient.send(add('patient'));
    await new Promise((resolve) => setTimeout(resolve, 50));
    away.close();
    await first.answer();
    assert.match((await patient.answer()).body, /displayEnemyList\.htm/);
    assert.match(app.read('data/enemylist.txt'), /patient@x\.example/);
    assert.doesNotMatch(app.read('data/enemylist.txt'), /away@x\.example/);
    for (const client of [first, patient]) client.close();
  });

  test('TheAnswersOfTwoTabsAreNeverMixedUp', async () => {
    const tabs = await Promise.all(['a', 'b', 'c', 'd'].map(async (name) => ({ name, client: await Client.open() })));
    await Promise.all(tabs.map(async ({ name, client }) => {
      for (let i = 0; i < 50; i++) {
        const answer = await client.send(get(`/${name}${i}.htm?s=${app.sessionId}`)).answer();
        assert.match(answer.body, new RegExp(`Unrecognized page: ${name}${i}\\.htm`));
      }
      client.close();
    }));
  });

  test('AClientOfThePlainWireNeverTakesABrowsersAnswer', async () => {
    let over = false;
    const plain = (async () => {
      let served = 0;
      while (!over) {
        assert.match(await app.get(`/plain${served}.htm?s={s}`), new RegExp(`Unrecognized page: plain${served}\\.htm`));
        served++;
      }
      return served;
    })();
    const client = await Client.open();
    for (let i = 0; i < 300; i++) {
      const answer = await client.send(get(`/browser${i}.htm?s=${app.sessionId}`)).answer();
      assert.match(answer.body, new RegExp(`Unrecognized page: browser${i}\\.htm`));
    }
    over = true;
    assert.ok(await plain > 0);
    client.close();
  });

  test('TenThousandRequestsInARowLeaveTheMemoryAsItWas', async () => {
    const round = async (count) => {
      const client = await Client.open();
      for (let i = 0; i < count; i++) {
        const answer = await client.send(get('/vornelle.ico')).answer();
        assert.equal(answer.status, 200);
      }
      client.close();
    };
    await round(1000);
    const files = openFiles();
    const warm = memory();
    const logged = app.log().length;
    await round(10000);
    // A window keeps what is logged, and how much that takes is known.
    const kept = (app.log().length - logged) * (app.process.memoryForLog ?? 0) / 1024;
    assert.ok(memory() - warm < 1024 + kept, `grown from ${warm} to ${memory()} KB`);
    // The last connections linger for a moment behind their close.
    await until(() => openFiles() <= files + 2, () => `${openFiles()} open files, ${files} before`);
  });
});
