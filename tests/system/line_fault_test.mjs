// Filter runs over a line that breaks: at every command, in the middle of every answer, at many a byte; and over a
// server that refuses each verb. Mail is neither lost nor half saved.

import assert from 'node:assert/strict';
import { describe, test } from 'node:test';

import { faultRun } from '../support/fault_run.mjs';
import { largeMailbox } from '../support/mails.mjs';

const VERBS = ['GREETING', 'USER', 'PASS', 'LIST', 'UIDL', 'TOP', 'RETR', 'DELE', 'QUIT'];
const concurrency = 3;
const notLoggedOn = /^\*\*Cannot log onto POP3 server\. Will try again in 30 mins\.$/;

describe('the line is cut', { concurrency }, () => {
  for (const verb of VERBS) {
    test(`At${verb}InPlaceOfAnAnswer`, () => faultRun({ pop: { faults: [{ verb, cut: true }] } },
      ({ line }) => { if (['GREETING', 'USER', 'PASS'].includes(verb)) assert.match(line, notLoggedOn); }));
    test(`InTheMiddleOfTheAnswerTo${verb}`, () => faultRun({ pop: { faults: [{ verb, cut: 'middle' }] } }));
    test(`OneByteBeforeTheEndOfTheAnswerTo${verb}`, () => faultRun({ pop: { faults: [{ verb, cut: -1 }] } }));
  }
  for (const verb of ['UIDL', 'TOP', 'RETR', 'DELE']) {
    for (const cut of [true, 'middle']) {
      test(`AtTheSecond${verb}${cut === true ? '' : 'InItsMiddle'}AfterAGoodFirst`,
        () => faultRun({ pop: { faults: [{ verb, nth: 2, cut }] } }));
    }
  }
  // The first UIDL lists the ids, the second confirms the headers, the third the first message.
  for (const cut of [true, 'middle', -1]) {
    test(`WhenAMessageIsConfirmed (${cut})`, () => faultRun({ pop: { faults: [{ verb: 'UIDL', nth: 3, cut }] } },
      ({ server }) => assert.equal(server.pop.count('DELE'), 0)));
  }
  test('BeforeTheDotThatEndsAMessage', () => faultRun({ pop: { faults: [{ verb: 'RETR', cut: -3 }] } },
    ({ server }) => assert.equal(server.pop.sessions[0].deleted.size, 0)));
  test('WithAResetInsteadOfAnEnd', () => faultRun({ pop: { reset: true, faults: [{ verb: 'RETR', cut: 'middle' }] } }));
  test('AtCapaOfALargeMailbox', () => faultRun(
    { messages: largeMailbox(), pop: { faults: [{ verb: 'CAPA', cut: true }] } },
    ({ server, line }) => {
      // The connection is opened again without the question, and the work is done.
      assert.match(line, /^Mail filtered:  10 msgs\.  30 spam\.$/);
      assert.equal(server.maildrop.messages.length, 10);
    }));
  test('InTheMiddleOfPipelinedAnswers', () => faultRun(
    { messages: largeMailbox(), pop: { faults: [{ verb: 'TOP', nth: 20, cut: 'middle' }] } }));
});

test('ALineCutAtAnyByteLosesNothing', async () => {
  let whole = 0;
  await faultRun({}, ({ server }) => { whole = server.pop.sessions[0].sent; });
  assert.ok(whole > 4000, `${whole} bytes`);
  // Dense where the answers are short, and a stride through the rest that meets every kind of place.
  const places = [];
  for (let at = 1; at < whole; at += at < 200 ? 13 : at < 1500 ? 97 : 311) places.push(at);
  const queue = [...places];
  const worker = async () => {
    for (let at = queue.shift(); at !== undefined; at = queue.shift()) {
      await faultRun({ pop: { cutAtByte: at } }).catch((error) => {
        error.message = `cut at byte ${at} of ${whole}: ${error.message}`;
        throw error;
      });
    }
  };
  await Promise.all(Array.from({ length: concurrency }, worker));
});

describe('the server refuses', { concurrency }, () => {
  for (const verb of VERBS) {
    test(`${verb}`, () => faultRun({ pop: { faults: [{ verb, error: true }] } },
      ({ line, server }) => {
        if (['GREETING', 'USER', 'PASS'].includes(verb)) assert.match(line, notLoggedOn);
        if (verb === 'RETR') assert.equal(server.pop.count('DELE'), 0);
      }));
  }
  test('TheLogOnBecauseTheMailboxIsInUse', () => faultRun(
    { pop: { faults: [{ verb: 'PASS', error: '[IN-USE] another session has the mailbox' }] } },
    ({ line }) => assert.match(line, notLoggedOn)));
  test('ToTellOneUniqueId', () => faultRun({ pop: { faults: [{ verb: 'UIDL', nth: 2, error: true }] } },
    ({ server }) => assert.deepEqual(server.maildrop.uids(), ['one', 'four'], 'it is asked for all of them instead')));
  test('OneMessageOutOfThree', () => faultRun({ pop: { faults: [{ verb: 'RETR', nth: 2, error: true }] } },
    ({ server }) => assert.deepEqual(server.maildrop.uids(), ['one', 'three', 'four'])));
  test('ToDeleteOneMessageOutOfThree', () => faultRun({ pop: { faults: [{ verb: 'DELE', nth: 2, error: true }] } },
    ({ server }) => assert.deepEqual(server.maildrop.uids(), ['one', 'three', 'four'])));
});
