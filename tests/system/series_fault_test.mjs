// Filter runs that fetch ahead, while the line breaks, the server is slow, wrong or deaf, or the program is killed: many
// commands are under way each time. Mail is neither lost nor half saved, and the next run finishes the work.

import assert from 'node:assert/strict';
import { describe, test } from 'node:test';

import { faultRun } from '../support/fault_run.mjs';
import { Application, assertNothingLost } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { largeMailbox, spam } from '../support/mails.mjs';

const concurrency = 3;
const LATE = 40;  // a message in the middle of the series
const messages = () => largeMailbox(80);
const windowed = (pop, check, options = {}) => faultRun({ messages: messages(), pop, ...options }, check);
// The 20 messages of a friend and everything that was to be deleted.
const nothingDeleted = ({ server }) => assert.equal(server.maildrop.messages.length, 80);

test('ManyMessagesAreUnderWayAtATime', () => windowed({}, ({ server, line }) => {
  assert.equal(line, 'Mail filtered:  20 msgs.  60 spam.');
  const commands = server.pop.commands();
  const first = commands.findIndex((command) => command.startsWith('DELE'));
  assert.ok(commands.slice(0, first).filter((command) => command.startsWith('RETR')).length > 30, commands.join(' '));
  assert.equal(commands.at(-1), 'QUIT');
}));

describe('the line is cut in a series', { concurrency }, () => {
  for (const verb of ['RETR', 'UIDL', 'DELE']) {
    for (const cut of [true, 'middle', -1]) {
      for (const nth of [2, LATE]) {
        // The first two UIDL list the ids and confirm the headers.
        test(`AtThe${nth}th${verb} (${cut})`, () => windowed({ faults: [{ verb, nth: verb === 'UIDL' ? nth + 2 : nth, cut }] }, nothingDeleted));
      }
    }
  }
  test('WithAResetInsteadOfAnEnd', () => windowed({ reset: true, faults: [{ verb: 'RETR', nth: LATE, cut: 'middle' }] }, nothingDeleted));
});

test('ALineCutAtAnyByteOfASeriesLosesNothing', async () => {
  const mailbox = () => largeMailbox(36);
  let whole = 0, listed = 0;
  await faultRun({ messages: mailbox(), pop: { faults: [{ verb: 'RETR', nth: 1, before: (session) => { listed = session.sent; } }] } },
    ({ server }) => { whole = server.pop.sessions[0].sent; });
  assert.ok(listed > 3000 && whole > listed + 5000, `${listed} ${whole}`);
  const queue = [];
  for (let at = listed - 20; at <= whole; at += at > whole - 150 ? 7 : 331) queue.push(at);
  const worker = async () => {
    for (let at = queue.shift(); at !== undefined; at = queue.shift()) {
      await faultRun({ messages: mailbox(), pop: { cutAtByte: at } }).catch((error) => {
        error.message = `cut at byte ${at} of ${whole}: ${error.message}`;
        throw error;
      });
    }
  };
  await Promise.all(Array.from({ length: concurrency }, worker));
});

describe('the server in a series', { concurrency }, () => {
  test('RefusesOneMessage', () => windowed({ faults: [{ verb: 'RETR', nth: 5, error: true }] },
    ({ server }) => assert.equal(server.maildrop.messages.length, 21)));
  test('RefusesOneDeletion', () => windowed({ faults: [{ verb: 'DELE', nth: 5, error: true }] },
    ({ server, line }) => {
      assert.equal(line, 'Mail filtered:  20 msgs.  60 spam.');
      assert.equal(server.maildrop.messages.length, 21);
    }));
  test('RefusesEveryDeletion', () => windowed({ faults: [{ verb: 'DELE', error: true }] }, nothingDeleted));
  test('ConfirmsAnotherMessage', () => windowed({ faults: [{ verb: 'UIDL', nth: 9, answer: '+OK 9 m77\r\n' }] }));
  for (const extra of ['+OK\r\n', '-ERR\r\n', '+OK\r\n.\r\n', 'what?\r\n']) {
    for (const verb of ['RETR', 'UIDL', 'DELE']) {
      // The status line then comes as a first line of the text, and nothing of it is missing (see the unit tests).
      if (verb === 'RETR' && extra === '+OK\r\n') continue;
      test(`AnswersOutOfStepAt${verb} (${JSON.stringify(extra)})`,
        () => windowed({ faults: [{ verb, nth: LATE, answer: (right) => Buffer.concat([Buffer.from(extra), right]) }] }, undefined,
          { recover: false }));
    }
  }
  test('SendsAMessageWithoutEnd', () => windowed(
    { faults: [{ verb: 'RETR', nth: LATE, endless: 'a line\r\n' }] }, nothingDeleted, { milliseconds: 170000 }));
});

// Answers come in order, but late and in pieces.
test('AServerThatAnswersLateIsWaitedFor', () => windowed({ late: 5 }, ({ line, server }) => {
  assert.equal(line, 'Mail filtered:  20 msgs.  60 spam.');
  assert.equal(server.maildrop.messages.length, 20);
}));

describe('the program is killed in a series', { concurrency }, () => {
  for (const [verb, nth] of [['RETR', 1], ['RETR', LATE], ['UIDL', LATE], ['DELE', 1], ['DELE', LATE], ['QUIT', 1]]) {
    test(`AtThe${nth}th${verb}`, async () => {
      const server = await MailServer.start({ messages: messages() });
      const before = server.maildrop.messages.map((message) => message.data);
      const left = () => server.maildrop.messages.map((message) => message.data);
      const app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}` } });
      try {
        await app.login();
        server.pop.options.faults = [{ verb, nth, stall: true, before: () => app.process.kill() }];
        const run = app.filterMail().catch(() => 'no answer');
        await app.ended();
        assert.equal(await run, 'no answer', 'the program was to be killed while it filters');
        assert.equal(left().length, verb === 'QUIT' ? 20 : 80);
        assertNothingLost(before, left(), app);
        server.pop.options.faults = [];
        await app.run();
        await app.login();
        assert.equal(await app.filterMail(), 'Mail filtered:  20 msgs.  60 spam.');
        assertNothingLost(before, left(), app);
        assert.equal(left().length, 20);
      } finally {
        await app.stop();
        await server.stop();
      }
    });
  }
});

test('MessagesThatTheDiskDoesNotHoldStayAndTheOthersOfTheSeriesAreTaken', async () => {
  const large = { uid: 'large', data: spam('large', 'too large for the disk\r\n'.repeat(10000)) };
  const server = await MailServer.start({ messages: [...messages().slice(0, 40), large, ...messages().slice(40)] });
  const before = server.maildrop.messages.map((message) => message.data);
  const app = await Application.start({ shell: `trap '' XFSZ; ulimit -f 128`,
    settings: { POP_SERVER: `127.0.0.1:${server.popPort}`, MAX_SPAM_SIZE: '1000' } });
  try {
    await app.login();
    assert.match(await app.filterMail() ?? '', /^Mail filtered: /);
    assertNothingLost(before, server.maildrop.messages.map((message) => message.data), app);
    assert.equal(server.maildrop.messages.length, 21);
    assert.ok(server.maildrop.uids().includes('large'));
  } finally {
    await app.stop();
    await server.stop();
  }
});
