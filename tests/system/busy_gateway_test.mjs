// Pages while something is under way: what a second tab sees during a filter run, and what scripts are told.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import net from 'node:net';
import { after, before, beforeEach, describe, test } from 'node:test';

import { exchange } from '../support/bare_http.mjs';
import { DelayProxy } from '../support/delay_proxy.mjs';
import { settingsForm } from '../support/forms.mjs';
import { ask as askGateway, statusOf } from '../support/gateway_http.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { spam } from '../support/mails.mjs';
import { freePort, until } from '../support/tools.mjs';

let app;
let server;
let slow;
before(async () => {
  server = await MailServer.start();
  slow = await DelayProxy.start(server.popPort, 30);
  app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${slow.port}`, SMTP_SERVER: `127.0.0.1:${server.smtpPort}`,
    SMTP_USER: 'joe', SMTP_PASSWORD: 'secret' } });
});
after(async () => {
  await app?.stop();
  await slow?.stop();
  await server?.stop();
});
beforeEach(async () => {
  server.pop.options.faults = [];
  server.smtp.options.faults = [];
  server.maildrop.messages = [];
  for (const name of Object.keys(app.spamBox())) app.remove(`spam/${name}`);
  await app.login();
});

const ask = (target, options) => askGateway(app, target, options);
const status = () => statusOf(app);

const odd = [];
// The address of a server that does so with each connection.
async function serverThat(does) {
  const listener = net.createServer((socket) => { socket.on('error', () => {}); does(socket); });
  await new Promise((resolve) => listener.listen(0, '127.0.0.1', resolve));
  odd.push(listener);
  return `127.0.0.1:${listener.address().port}`;
}

const MESSAGES = 100;

// A run over a mailbox whose server takes its time; `during` happens in the middle of it, and is over before it is.
async function duringARun(during) {
  for (let i = 0; i < MESSAGES; i++) server.maildrop.add({ uid: `m${i}`, data: spam(`s${i}`, 'x'.repeat(2000) + '\r\n') });
  let goOn;
  const { options } = server.pop;
  options.late = 2;
  options.faults = [{ verb: 'RETR', nth: MESSAGES - 10, until: new Promise((resolve) => { goOn = resolve; }) }];
  try {
    let over = false;
    const run = ask('/mailfilter.cgi?s={s}', { method: 'POST' }).then((answer) => { over = true; return answer; });
    await until(() => fs.readdirSync(app.path('spam')).length > 2, 'the run to be in its middle', 20000);
    await during(() => over);
    goOn();
    assert.match((await run).body, /displayspambox\.htm/);
  } finally {
    goOn();
    delete options.late;
  }
}

describe('during a filter run', () => {
  test('PagesOfFilesAreAnsweredAtOnce', async () => {
    app.write('spam/old.txt', 'From: <a@b.example>\r\nSubject: held\r\n\r\nx\r\n');
    await app.get('/displayspambox.htm?s={s}');
    await duringARun(async (over) => {
      for (const [target, text] of [['/displayfriendlist.htm?s={s}', /@friend\.example/], ['/config.htm?s={s}', /POP_SERVER/],
        ['/findinlists.htm?s={s}&findinlists=friend&END=1', /- @friend\.example/], ['/displayspambox.htm?s={s}&msg=0', /held/],
        ['/', /POP_PASSWORD/]]) {
        const answer = await ask(target);
        assert.equal(answer.status, 200);
        assert.match(answer.body, text);
      }
      assert.equal((await ask('/vornelle.ico')).headers['content-type'], 'image/x-icon');
      const source = await ask('/displayspam.cgi?fn=old.txt&s={s}');
      assert.equal(source.status, 303);
      assert.match((await ask(source.headers.location)).body, /Subject: held/);
      assert.ok(!over(), 'all of that while the run went on');
    });
  });

  test('PagesAreAnsweredWhileTheMailServerIsSilentAndThePlainWireWaits', async () => {
    server.maildrop.add({ uid: 'one', data: spam('one') });
    server.pop.options.faults = [{ verb: 'LIST', stall: true }];
    const sessions = server.pop.sessions.length;
    let over = false;
    const run = ask('/mailfilter.cgi?s={s}', { method: 'POST' }).then(() => { over = true; });
    await until(() => server.pop.sessions.slice(sessions).some((session) => session.commands.includes('LIST')), 'the silence');
    let plainIsAnswered = false;
    const plain = app.get('/vornelle.ico').then(() => { plainIsAnswered = true; });
    for (const target of ['/displayfriendlist.htm?s={s}', '/config.htm?s={s}', '/displayspambox.htm?s={s}&msg=0', '/vornelle.ico', '/']) {
      const answer = await ask(target);
      assert.equal(answer.status, 200);
      assert.ok(answer.milliseconds < 5000, `${target}: ${answer.milliseconds} ms`);
    }
    assert.equal((await status()).underWay.task, 'filterRun');
    assert.match((await ask('/displayinbox.htm?s={s}')).body, /Filtering/);
    assert.ok(!over && !plainIsAnswered);
    for (const socket of server.pop.sockets) socket.destroy();
    await run;
    await plain;
    assert.equal(server.maildrop.messages.length, 1);
  });

  test('APageThatNeedsTheMailboxShowsHowFarItIsAndLeavesTheRunAlone', async () => {
    await duringARun(async (over) => {
      const inbox = await ask('/displayinbox.htm?s={s}');
      assert.ok(!over());
      assert.match(inbox.body, new RegExp(`Filtering: \\d+ of ${MESSAGES}`));
      assert.match(inbox.headers['content-security-policy'], /connect-src 'self'/);
      assert.ok(inbox.milliseconds < 5000, `${inbox.milliseconds} ms`);
    });
    assert.ok(app.events().includes(`Mail filtered:  0 msgs.  ${MESSAGES} spam.`));
    assert.equal(server.maildrop.messages.length, 0, 'the run deleted what it saved');
    assert.match((await ask('/displayinbox.htm?s={s}')).body, /<title>Inbox/);
  });

  test('AnActionWaitsForItsEnd', async () => {
    let added;
    await duringARun(async (over) => {
      added = ask('/add2white.cgi?s={s}', { method: 'POST', body: 'addtolist=@late.example&END=1' }).then(() => assert.ok(over()));
      await ask('/config.htm?s={s}');
      assert.ok(!over());
      assert.doesNotMatch(app.read('data/friendlist.txt'), /late/);
    });
    await added;
    assert.match(app.read('data/friendlist.txt'), /@late\.example/);
    app.write('data/friendlist.txt', '@friend.example\r\n');
  });

  test('TheStatusTellsHowFarItIsAndAfterwardsTheResult', async () => {
    const seen = [];
    const logged = () => app.log().length;
    await duringARun(async (over) => {
      const before = logged();
      for (let i = 0; i < 5 && !over(); i++) seen.push((await status()).underWay);
      assert.doesNotMatch(app.log().slice(before), /status/i);
    });
    assert.ok(seen.length > 0);
    for (const task of seen) {
      assert.equal(task.task, 'filterRun');
      assert.equal(task.total, MESSAGES);
      assert.match(task.text, new RegExp(`^Filtering: \\d+ of ${MESSAGES}$`));
    }
    const now = await status();
    assert.equal(now.underWay, null);
    assert.equal(now.results.filterRun.text, `Mail filtered:  0 msgs.  ${MESSAGES} spam.`);
    assert.ok(now.results.filterRun.good && Math.abs(now.now - now.results.filterRun.time) < 60);
  });
});

// A server that falls silent in the middle of each kind of task.
describe('during any other task', () => {
  const saved = (name) => app.write(`spam/${name}.txt`, spam(name).toString('latin1'));
  for (const [what, task, service, fault, begin] of [
    ['AFetchOfTheInbox', 'inboxFetch', 'pop', { verb: 'UIDL', stall: true }, () => ask('/displayinbox.htm?s={s}')],
    ['AFetchOfAMessage', 'messageFetch', 'pop', { verb: 'RETR', stall: 'middle' }, () => ask('/preview.htm?b=inbox&k=one&s={s}')],
    ['ADeletion', 'restoreAndDelete', 'pop', { verb: 'DELE', stall: true }, () => ask('/preview.cgi?s={s}', { method: 'POST', body: 'b=inbox&k=one&sender=x&act=delete&END=1' })],
    ['ARestoring', 'restoreAndDelete', 'smtp', { verb: 'BODY', stall: true }, () => ask('/preview.cgi?s={s}', { method: 'POST', body: 'b=spam&k=back&sender=x&act=restore&END=1' })],
    ['ATestOfTheSettings', 'settingsTest', 'pop', { verb: 'PASS', stall: true }, () => ask('/configupdate.cgi?s={s}', { method: 'POST', body: 'END=1' })],
  ]) {
    test(`${what}LetsPagesOfFilesIn`, async () => {
      server.maildrop.add({ uid: 'one', data: spam('one') });
      saved('back');
      await app.get('/displayspambox.htm?s={s}');
      const { options, sessions, sockets } = server[service];
      options.faults = [fault];
      let over = false;
      const began = sessions.length;
      const work = begin().then(() => { over = true; });
      await until(async () => (await status()).underWay?.task === task && sessions.slice(began).some((one) => one.wire.silent), 'the silence');
      for (const [target, text] of [['/displayfriendlist.htm?s={s}', /@friend\.example/], ['/displayspambox.htm?s={s}&msg=0', /sam@spam-back/],
        ['/preview.htm?b=spam&k=back&s={s}', /sam@spam-back/]]) {
        assert.match((await ask(target)).body, text);
      }
      let added = false;
      const adding = ask('/add2white.cgi?s={s}', { method: 'POST', body: 'addtolist=@friend.example&END=1' }).then(() => { added = true; });
      await status();
      assert.ok(!over && !added, 'all of that in its middle, and no action');
      options.faults = [];
      for (const socket of sockets) socket.destroy();
      await Promise.all([work, adding]);
      assert.equal((await status()).underWay, null);
      assert.ok(server.maildrop.messages.some(({ uid }) => uid === 'one'));
      assert.ok(app.exists('spam/back.txt'));
    });
  }
});

test('AFormOfThePlainWireThatWaitsActsOnItsOwnRequestBehindABrowsers', async () => {
  for (const name of ['aa', 'bb']) app.write(`spam/${name}.txt`, spam(name).toString('latin1'));
  await app.get('/displayspambox.htm?s={s}');
  const acted = app.post('/deleterestore.cgi?s={s}', 'SUBMIT3=RESTORE-DELETE&D0=1&D1=1&END=1');
  const before = app.events().length;
  let served = 0;
  let over = false;
  acted.then(() => { over = true; });
  while (!over) {
    assert.match((await ask(`/page${served}.htm?s={s}`)).body, new RegExp(`Unrecognized page: page${served}\\.htm`));
    served++;
  }
  assert.match(await acted, /displayspambox\.htm/);
  assert.ok(served > 0);
  assert.deepEqual(Object.keys(app.spamBox()), []);
  assert.ok(app.events().slice(before).includes('deleterestore.cgi request complete!'));
});

test('ABrowsersRequestIsLoggedAsOneOfThePlainWire', async () => {
  for (const target of ['/displayfriendlist.htm?s={s}', '/nothing.htm?s={s}', '/config.htm']) {
    const lines = async (work) => { const before = app.events().length; await work(); return app.events().slice(before); };
    const plain = await lines(() => app.get(target));
    assert.ok(plain.at(-1).endsWith(' request complete!'));
    assert.deepEqual(await lines(() => ask(target)), plain);
  }
});

describe('the status', () => {
  test('TellsTestModeTheScheduleTheSessionAndTheAgeOfTheInbox', async () => {
    assert.equal((await status()).inbox.count >= 0, true);
    await ask('/displayinbox.htm?s={s}');
    const now = await status();
    assert.equal(now.testMode, false);
    assert.equal(now.active, false);
    assert.ok(now.minutesLeft > 25 && now.minutesLeft <= 30);
    assert.deepEqual(now.inbox, { fresh: true, fetched: now.inbox.fetched, count: 0 });
    assert.ok(now.now - now.inbox.fetched < 60);
    server.pop.options.faults = [{ verb: 'PASS', error: '[AUTH] not today <b>' }];
    await ask('/displayinbox.htm?s={s}');
    const later = await status();
    assert.deepEqual(later.inbox, { ...now.inbox, fresh: false });
    assert.equal(later.pop.reason, 'saidNo');
    assert.equal(later.pop.step, 'loggingOn');
    assert.match(later.pop.words, /not today <b>/);
    assert.match(later.results.failure.text, /not today <b>/);
  });

  test('TellsWhatWasAddedDeletedRestoredAndTried', async () => {
    await ask('/add2black.cgi?s={s}', { method: 'POST', body: 'addtolist=eve@x.example&END=1' });
    assert.match((await status()).results.add.text, /^Added "eve@x\.example" to the EnemyList\.$/);
    for (const name of ['a', 'b']) app.write(`spam/${name}.txt`, spam(name).toString('latin1'));
    const page = (await ask('/displayspambox.htm?s={s}')).body;
    const row = (name) => /name='R(\d+)'/.exec(page.split("<tr class='").find((part) => part.includes(`>${name}</a>`)))[1];
    await ask('/deleterestore.cgi?s={s}', { method: 'POST', body: `SUBMIT3=RESTORE-DELETE&R${row('a')}=1&D${row('b')}=1&END=1` });
    const now = (await status()).results;
    assert.equal(now.restore.text, '1 restored, 1 deleted');
    assert.equal(now.delete.text, '1 deleted');
    await ask('/configupdate.cgi?s={s}', { method: 'POST', body: 'END=1' });
    assert.match((await status()).results.settingsTest.text, /^Saved\. /);
    app.write('data/enemylist.txt', '');
  });

  for (const [what, reason, step, serverName] of [
    ['NobodyIsThere', 'refused', 'connecting', async () => `127.0.0.1:${await freePort()}`],
    // Longer than names may have it, so that nobody is asked.
    ['TheNameIsUnknown', 'nameNotFound', 'connecting', () => `${'x'.repeat(64)}.invalid:110`],
    ['TheServerHangsUp', 'closed', 'greeting', () => serverThat((socket) => socket.end())],
    ['ItIsNoMailServer', 'nonsense', 'greeting', () => serverThat((socket) => socket.write('HTTP/1.1 400 Bad Request\r\n\r\n'))],
  ]) {
    test(`TellsThat${what}`, async () => {
      const plain = `127.0.0.1:${slow.port}`;
      try {
        await ask('/configupdate.cgi?s={s}', { method: 'POST', body: settingsForm({ POP_SERVER: await serverName() }) });
        const { pop, results } = await status();
        assert.deepEqual([pop.reason, pop.step], [reason, step]);
        assert.ok(pop.text.length > 20 && results.failure.text.includes(pop.text), results.failure.text);
      } finally {
        for (const one of odd.splice(0)) one.close();
        await ask('/configupdate.cgi?s={s}', { method: 'POST', body: settingsForm({ POP_SERVER: plain }) });
      }
      assert.equal((await status()).pop, null);
    });
  }

  test('IsRefusedWithoutTheLiveSessionAndToOtherSites', async () => {
    assert.equal((await ask('/status.json')).status, 403);
    assert.equal((await ask('/status.json?s=OLD')).status, 403);
    assert.equal((await ask('/status.json?s={s}', { headers: { 'Sec-Fetch-Site': 'cross-site' } })).status, 403);
  });
});

describe('requests that nobody here has asked for', () => {
  const fields = ['Sec-Fetch-Site: cross-site', 'Sec-Fetch-Site: same-site', 'Sec-Purpose: prefetch;prerender', 'Upgrade: websocket', 'Origin: null'];

  test('AreClosedWithoutAnAnswerOnThePlainWire', async () => {
    for (const field of fields) {
      for (const target of ['/UNLOADME', '/logout.cgi', `/config.htm?s=${app.sessionId}`]) {
        const answer = await exchange(app.port, `GET ${target} HTTP/1.1\r\nHost: 127.0.0.1:${app.port}\r\n${field}\r\n\r\n`);
        assert.equal(answer.length, 0, `${field} ${target}`);
      }
    }
    assert.match(await app.get('/config.htm?s={s}'), /POP_SERVER/);
  });

  test('AreRefusedByTheGateway', async () => {
    for (const field of fields) {
      const [name, value] = field.split(': ');
      const headers = { 'Sec-Fetch-Site': [], [name]: value };
      for (const target of ['/UNLOADME', '/logout.cgi', `/config.htm?s=${app.sessionId}`]) {
        assert.ok([403, 503].includes((await ask(target, { headers })).status), `${field} ${target}`);
      }
    }
    assert.equal((await ask('/logout.cgi', { headers: { 'Sec-Fetch-Site': [] } })).status, 403);
    assert.match((await ask('/config.htm?s={s}')).body, /POP_SERVER/);
  });
});
