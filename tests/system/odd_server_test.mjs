// Filter runs against servers that are not as they should be, but with which the program copes.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { describe, test } from 'node:test';

import { faultRun } from '../support/fault_run.mjs';
import { ask } from '../support/gateway_http.mjs';
import { onLane } from '../support/lane.mjs';
import { programPath } from '../support/launcher.mjs';
import { friendly, largeMailbox, mail, smallMailbox, spam } from '../support/mails.mjs';

const filtered = (kept, saved) => new RegExp(`^Mail filtered:  ${kept} msgs\\.  ${saved} spam\\.$`);
const withUids = (...uids) => uids.map((uid, i) => ({ uid, data: spam(`number-${i}`) }));
const concurrency = 3;

describe('capabilities', { concurrency }, () => {
  test('AServerWithoutTopStillLetsItsMailBeFiltered', () => faultRun({ pop: { lacks: ['TOP'] } },
    ({ line, server }) => {
      assert.match(line, filtered(2, 3));
      assert.deepEqual(server.maildrop.uids(), ['one', 'four']);
    }));
  test('AServerWithoutUniqueIdsLosesNothing', () => faultRun({ pop: { lacks: ['UIDL'] } },
    ({ server }) => assert.equal(server.pop.count('DELE'), 0)));
  test('AServerWithoutCapaStillWorks', () => faultRun({ messages: largeMailbox(), pop: { lacks: ['CAPA'] } },
    ({ line }) => assert.match(line, filtered(10, 30))));
  test('AServerWithoutPipeliningStillWorks', () => faultRun({ messages: largeMailbox(), pop: { pipelining: false } },
    ({ line }) => assert.match(line, filtered(10, 30))));
  test('ASmallMailboxIsNotAskedForCapabilities', () => faultRun({},
    ({ server }) => assert.equal(server.pop.count('CAPA'), 0)));
  test('ALargeMailboxIsPipelined', () => faultRun({ messages: largeMailbox(64) },
    ({ line, server }) => {
      assert.equal(server.pop.count('CAPA'), 1);
      assert.match(line, filtered(16, 48));
    }));
});

describe('refusals', { concurrency }, () => {
  const refused = () => [{ uid: 'one', data: spam('one') }, { uid: 'locked', data: spam('locked'), refused: true }];
  test('AMessageThatTheServerGivesNothingOfIsJudgedByNobody', () => faultRun({ messages: refused(), recover: false },
    ({ line, server }) => {
      assert.match(line, filtered(1, 1));
      assert.deepEqual(server.maildrop.uids(), ['locked']);
    }));
  test('AMessageThatTheServerGivesNothingOfCanBeDeletedFromTheInbox', () => onLane({ messages: refused() },
    async ({ app, server }) => {
      await app.login();
      const page = await app.get('/displayinbox.htm?s={s}');
      assert.match(page, /displayemail\.cgi\?uidl=locked&s=/);
      assert.match(page, /showing 1 - 2 of 2/);
      await ask(app, '/delete.cgi?s={s}', { method: 'POST', body: 'SUBMIT3=DELETE&D1=1&END=1' });
      assert.deepEqual(server.maildrop.uids(), ['one']);
    }));
});

describe('sizes', { concurrency }, () => {
  for (const size of [0, 1, -1, -2147483649, 2147483647, 4294967296, 99999999999999999999n, 'large']) {
    test(`ALyingSizeOf${size}LosesNothing`, () => {
      const messages = smallMailbox();
      messages[2].size = size;
      // A size over the limit keeps the message; the truth takes it in the run after.
      return faultRun({ messages }, ({ server }) => {
        for (const message of server.maildrop.messages) delete message.size;
      });
    });
  }
  test('AMessageOverTheLimitStaysWhereverItComesFrom', () => faultRun({
    messages: [{ uid: 'large', data: spam('large', `${'y'.repeat(78)}\r\n`.repeat(2100)) }], recover: false,
  }, ({ line }) => assert.match(line, filtered(1, 0))));
});

describe('unique-ids', { concurrency }, () => {
  const kept = { uid: 'kept', data: friendly('kept') };
  test('TwoMessagesWithOneUniqueIdAreNotLost', () => faultRun(
    { messages: [kept, ...withUids('same', 'same', 'other')], recover: false }));
  test('AFriendsMessageWithAStrangersUniqueIdIsNotLost', () => faultRun(
    { messages: [{ uid: 'same', data: friendly('kept') }, ...withUids('same')], recover: false },
    ({ server }) => assert.ok(server.maildrop.messages.some((m) => String(m.data).includes('friend.example')))));
  test('AnEmptyUniqueIdKeepsItsMessage', () => {
    const messages = [kept, ...withUids('a', 'b')];
    messages[1].uidLine = '';
    return faultRun({ messages, recover: false },
      ({ server }) => assert.deepEqual(server.maildrop.messages.map((m) => String(m.data.includes('number-1'))),
        ['false', 'false']));
  });
  test('SeveralBlanksBeforeAUniqueIdAreNoPartOfIt', () => {
    const messages = [kept, ...withUids('a', 'b')];
    for (const message of messages) message.uidLine = `   ${message.uid}`;
    return faultRun({ messages, recover: false }, ({ app, server }) => {
      assert.deepEqual(server.maildrop.uids(), ['kept']);
      assert.deepEqual(Object.keys(app.spamBox()), ['a.txt', 'b.txt']);
    });
  });
  for (const [what, uid] of Object.entries({
    OfSeventyOneCharacters: 'u'.repeat(71),
    OfTwoHundredCharacters: 'v'.repeat(200),
    WithBytesAboveAscii: 'caf\xe9\x80\xff',
    ThatClimbsOutOfTheFolder: '../../../escape',
    WithBackslashes: '..\\..\\escape',
    ThatIsADeviceName: 'CON',
    ThatEndsInADot: 'dot.',
    WithEveryCharacterThatWindowsRefuses: '<>:"/\\|?*',
    OfTwoDots: '..',
    WithAPercentSign: 'a%2Fb',
  })) {
    test(`AUniqueId${what}LosesNothing`, () => faultRun({ messages: [kept, ...withUids('plain', uid)] },
      ({ app }) => {
        const names = fs.readdirSync(app.folder).sort();
        assert.deepEqual(names, ['Vornelle.ini', 'Vornelle.log', 'data', 'message.txt', 'spam',
          path.basename(programPath())]);
        for (const name of Object.keys(app.spamBox())) assert.match(name, /\.txt$/);
      }));
  }
  test('AUniqueIdThatIsTooLongForAFileNameKeepsItsMessage', () => faultRun(
    { messages: [kept, ...withUids('plain', 'v'.repeat(300))], recover: false },
    ({ server }) => assert.deepEqual(server.maildrop.uids(), ['kept', 'v'.repeat(300)])));
  test('UniqueIdsThatDifferInLetterCaseHaveFilesOfTheirOwn', () => faultRun(
    { messages: [kept, ...withUids('MsgA', 'msga', 'MSGA')] },
    ({ app, line }) => {
      const names = Object.keys(app.spamBox());
      assert.equal(new Set(names.map((name) => name.toLowerCase())).size, 3, names.join(' '));
      assert.match(line, filtered(1, 3));
    }));
});

describe('messages', { concurrency }, () => {
  for (const [what, body] of Object.entries({
    WithNulBytes: 'a\0b\0\0\r\n\0\r\n',
    WithBareLineFeeds: 'one\ntwo\n\nthree\n.\nfour\r\n',
    WithABareLineFeedBeforeALoneDot: 'one\n.\r\nstill here\r\n',
    WithBareCarriageReturns: 'one\rtwo\r\r\r\nthree\r.\r\n',
    WithALineOf100KB: 'z'.repeat(100_000) + '\r\n',
    WithDotsEverywhere: '.\r\n..\r\n...\r\n.a\r\n\r\n.\r\n',
    WithEveryByte: Buffer.from(Array.from({ length: 256 }, (_, i) => i)).toString('latin1') + '\r\n',
    WithNoBody: '',
  })) {
    test(`AMessage${what}IsSavedByteForByte`, () => faultRun(
      { messages: [{ uid: 'odd', data: spam('odd', body) }, { uid: 'kept', data: friendly('kept', body) }] },
      ({ app, server }) => {
        assert.deepEqual(server.maildrop.uids(), ['kept']);
        assert.deepEqual(app.spamBox()['odd.txt'].toString('latin1'), spam('odd', body).toString('latin1') + '\r\n');
      }));
  }
  // No server that doubles dots ever sends such a line, so the dot is the message's own.
  test('ADotThatTheServerDidNotDoubleStays', () => faultRun({
    messages: [{ uid: 'odd', data: spam('odd', 'a\r\n.hidden\r\n.x.\r\nend\r\n'), stuff: false }],
  }));
  // Such a dot ends the message as far as the client can see; the rest must not be taken for answers.
  for (const rest of ['+OK\r\n+OK\r\n+OK', '-ERR\r\n.\r\n+OK', 'no answer at all']) {
    test(`AMessageCutByALoneDotAndFollowedBy${JSON.stringify(rest)}IsKept`, () => faultRun({
      messages: [...smallMailbox(), { uid: 'odd', data: spam('odd', `half\r\n.\r\n${rest}\r\nend\r\n`), stuff: 'never' }],
      recover: false,
    }, ({ server }) => assert.deepEqual(server.maildrop.uids(), ['one', 'four', 'odd'])));
  }
  test('AMessageWithoutABlankLineAfterItsHeaderIsSaved', () => faultRun({
    messages: [{ uid: 'odd', data: Buffer.from('From: x@spam.example\r\nSubject: no end\r\n') }],
  }, ({ app }) => assert.equal(String(app.spamBox()['odd.txt']), 'From: x@spam.example\r\nSubject: no end\r\n\r\n')));
  test('AnEmptyMessageIsSaved', () => faultRun({ messages: [{ uid: 'odd', data: Buffer.from('\r\n') }] }));
  test('AHeaderOfThreeMegabytesDoesNoHarm', () => faultRun({
    messages: [{ uid: 'odd', data: mail({ subject: 'long ' + `${'w'.repeat(998)}\r\n `.repeat(3000) }) }],
    settings: { MAX_SPAM_SIZE: '30000' },
  }, ({ line }) => assert.match(line, filtered(0, 1))));
});

describe('answers to TOP', { concurrency }, () => {
  const odd = (top) => faultRun({ messages: smallMailbox().map((message) => ({ ...message, top })), recover: false },
    ({ line }) => assert.match(line, /^Mail filtered: /));
  test('ThatAreTheWholeMessage', () => odd((data) => data));
  test('ThatAreCutShortInsideTheHeader', () => odd((data) => data.subarray(0, 40)));
  test('ThatHaveNoBlankLineAfterTheHeader', () => odd((data) => data.subarray(0, data.indexOf('\r\n\r\n') + 2)));
  test('ThatAreEmpty', () => odd(() => Buffer.alloc(0)));
});

describe('lists that do not agree', { concurrency }, () => {
  for (const verb of ['LIST', 'UIDL']) {
    test(`AMessageThatArrivesBefore${verb}DoesNoHarm`, () => faultRun({
      pop: { faults: [{ verb, nth: 1, before: (session) => {
        if (!session.messages.late) session.messages.push(session.server.maildrop.add({ uid: 'late', data: spam('late') }));
        session.messages.late = true;
      } }] },
      recover: false,
    }, ({ line }) => assert.match(line, /^Mail filtered: /)));
  }
  test('NumbersOutOfOrderInUidlLeadToTheRightMessages', () => faultRun({
    pop: { faults: [{ verb: 'UIDL', nth: 1, answer: '+OK\r\n5 five\r\n3 three\r\n1 one\r\n2 two\r\n4 four\r\n.\r\n' }] },
  }, ({ server }) => assert.deepEqual(server.maildrop.uids(), ['one', 'four'])));
  test('AServerThatListsAllUniqueIdsWhateverIsAskedLetsItsMailBeFiltered', () => faultRun({
    pop: { faults: [{ verb: 'UIDL', answer: '+OK\r\n1 one\r\n2 two\r\n3 three\r\n4 four\r\n5 five\r\n.\r\n' }] },
  }, ({ server }) => assert.deepEqual(server.maildrop.uids(), ['one', 'four'])));
  test('NonsenseInLists', () => faultRun({
    pop: { faults: [
      { verb: 'LIST', answer: '+OK\r\nx y\r\n\r\n1\r\n99999999999999999999 5\r\n-3 100\r\n2 200\r\n.\r\n' },
      { verb: 'UIDL', answer: '+OK\r\n0 zero\r\n77 far\r\nabc\r\n\r\n2 two\r\n.\r\n' },
    ] },
  }));
  test('OnlyLineFeedsEndItsLines', () => faultRun({
    pop: { faults: ['GREETING', 'USER', 'PASS', 'STAT', 'LIST', 'UIDL', 'TOP', 'DELE', 'QUIT'].map((verb) => ({
      verb, answer: (right) => right.toString('latin1').replaceAll('\r\n', '\n'),
    })) },
  }));
});

describe('answers without end', { concurrency: 2 }, () => {
  const endless = (verb, fault) => faultRun({ pop: { faults: [{ verb, ...fault }] } }, ({ app }) => {
    const peak = /VmHWM:\s*(\d+)/.exec(fs.readFileSync(`/proc/${app.process.child.pid}/status`, 'utf8'));
    assert.ok(Number(peak[1]) < 1_400_000, `peak memory ${peak[1]} KB`);
  });
  for (const verb of ['GREETING', 'USER', 'PASS', 'DELE', 'QUIT']) {
    test(`AStatusLineTo${verb}`, () => endless(verb, { status: false, endless: '+OK and so on ' }));
  }
  test('ALineOfList', () => endless('LIST', { endless: '1' }));
  test('AList', () => endless('LIST', { endless: '7 7\r\n' }));
  test('AListOfUniqueIds', () => endless('UIDL', { endless: '7 seven\r\n' }));
  test('AHeader', () => endless('TOP', { endless: 'X-More: and more\r\n' }));
  test('AMessage', () => endless('RETR', { endless: 'From: me\r\n\r\nand so on\r\n' }));
});
