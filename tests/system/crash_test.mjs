// The program is ended in the middle of its work, by force, or the disk is full. No mail is lost, and the next run
// finishes what the one before began.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import { describe, test } from 'node:test';

import { Application, assertNothingLost } from '../support/harness.mjs';
import { onLane } from '../support/lane.mjs';
import { smallMailbox, spam } from '../support/mails.mjs';

const concurrency = 3;

const withServer = ({ messages = smallMailbox(), ...options }, body) => onLane({ messages, ...options }, async ({ app, server }) => {
  const before = server.maildrop.messages.map((message) => message.data);
  await app.login();
  const assertSafe = () => assertNothingLost(before, server.maildrop.messages.map((message) => message.data), app);
  await body({ app, server, assertSafe });
});

// Kills the program when the command arrives, starts it again and lets it filter.
const killedAt = (verb, nth, wait = 0) => withServer({}, async ({ app, server, assertSafe }) => {
  server.pop.options.faults = [{ verb, nth, stall: true, before: () => setTimeout(() => app.process.kill(), wait) }];
  const run = app.filterMail().catch(() => 'no answer');
  await app.ended();
  assert.equal(await run, 'no answer', 'the program was to be killed while it filters');
  assertSafe();

  server.pop.options.faults = [];
  await app.run();
  await app.login();
  assert.match(await app.filterMail() ?? '', /^Mail filtered:  2 msgs\.  3 spam\.$/);
  assertSafe();
  assert.deepEqual(server.maildrop.uids(), ['one', 'four']);
  assert.deepEqual(Object.keys(app.spamBox()).sort(), ['five.txt', 'three.txt', 'two.txt'], 'nothing half is left');
});

describe('the program is killed', { concurrency }, () => {
  for (const verb of ['PASS', 'LIST', 'UIDL', 'TOP', 'RETR', 'DELE', 'QUIT']) {
    test(`At${verb}`, () => killedAt(verb, 1));
  }
  for (const verb of ['UIDL', 'RETR', 'DELE']) test(`AtTheThird${verb}`, () => killedAt(verb, 3));
});

// A moment that no command marks: while a large message is written, flushed and given its name.
test('TheProgramIsKilledWhileItSavesMessages', async () => {
  const messages = Array.from({ length: 30 }, (_, i) => ({ uid: `big${i}`, data: spam(`big-${i}`, `line ${i}\r\n`.repeat(20000)) }));
  for (const wait of [1, 3, 6, 10, 15, 25, 40]) {
    await withServer({ messages, settings: { MAX_SPAM_SIZE: '10000' } }, async ({ app, server, assertSafe }) => {
      server.pop.options.faults = [{ verb: 'RETR', nth: 2, before: () => setTimeout(() => app.process.kill(), wait) }];
      app.filterMail().catch(() => {});
      await app.ended();
      assertSafe();
      server.pop.options.faults = [];
      await app.run();
      await app.login();
      await app.filterMail();
      assertSafe();
      assert.deepEqual(server.maildrop.uids(), []);
    });
  }
});

test('AMessageThatTheDiskDoesNotHoldStaysOnTheServer', async () => {
  const messages = [...smallMailbox(), { uid: 'large', data: spam('large', 'too large for the disk\r\n'.repeat(10000)) }];
  // A limit of the file size fails a write as a full disk does: some bytes are taken, the rest is refused.
  const shell = `trap '' XFSZ; ulimit -f 128`;
  await withServer({ messages, shell, settings: { MAX_SPAM_SIZE: '1000' } }, async ({ app, server, assertSafe }) => {
    assert.match(await app.filterMail() ?? '', /^Mail filtered: /);
    assertSafe();
    assert.deepEqual(server.maildrop.uids(), ['one', 'four', 'large']);
    assert.deepEqual(Object.keys(app.spamBox()).sort(), ['five.txt', 'three.txt', 'two.txt']);
    assert.ok(await app.isServing());

    // When there is room again it is taken.
    await app.close();
    await app.run();
    await app.login();
    assert.match(await app.filterMail() ?? '', /^Mail filtered:  2 msgs\.  4 spam\.$/);
    assertSafe();
    assert.deepEqual(server.maildrop.uids(), ['one', 'four']);
  });
});

test('AListThatTheDiskDoesNotHoldStaysAsItWas', async () => {
  const entries = Array.from({ length: 3000 }, (_, i) => `somebody.${10000 + i}@enemy.example`);
  const app = await Application.start({ lists: { enemylist: entries }, shell: `trap '' XFSZ; ulimit -f 128` });
  try {
    await app.login();
    const before = app.read('data/enemylist.txt');
    assert.ok(before.length > 80000, 'more than the limit');
    await app.post('/addtolist.cgi?s={s}', 'addtolist=new%40enemy.example&type=enemylist&go=1');
    assert.equal(app.read('data/enemylist.txt'), before);
    await app.post('/deletefromlist.cgi?s={s}', 'deletefromlist=1&type=enemylist&go=1');
    assert.equal(app.read('data/enemylist.txt'), before);
    await app.post('/addtolist.cgi?s={s}', 'addtolist=new%40friend.example&type=friendlist&go=1');
    assert.match(app.read('data/friendlist.txt'), /new@friend\.example/, 'what is small enough is still written');
    assert.deepEqual(fs.readdirSync(app.path('data')).filter((name) => /tmp|~|new/i.test(name)), []);
    assert.ok(await app.isServing());
  } finally {
    await app.stop();
  }
});
