// Filter runs against a real Dovecot: what is saved equals the mail store to the byte, what is deleted was saved, and
// a run that is interrupted, or interrupts another one, loses nothing.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import { describe, test } from 'node:test';

import { assertNothingLost } from '../support/harness.mjs';
import { mail, mixture } from '../support/mails.mjs';
import { withMailbox } from '../support/mailbox.mjs';
import { converse, until } from '../support/tools.mjs';

// The unique-ids of the mailbox, in its order.
async function uniqueIds(dovecot) {
  const said = await converse(dovecot.port, ['USER joe', 'PASS secret', 'UIDL', 'QUIT']);
  return [...said.matchAll(/^\d+ (\S+)\r$/gm)].map((line) => line[1]);
}

const isFriendly = (message) => message.includes('friend.example');

describe('dovecot', { concurrency: 2 }, () => {
  test('FiveHundredMessagesAreFilteredAndSavedByteForByte', () => withMailbox(mixture(500), {}, async (app, dovecot) => {
    const stored = dovecot.messages();
    const ids = await uniqueIds(dovecot);
    assert.equal(ids.length, 500);
    assert.equal(await app.filterMail(), 'Mail filtered:  125 msgs.  375 spam.');
    const saved = app.spamBox();
    assert.equal(Object.keys(saved).length, 375);
    stored.forEach((message, i) => {
      const file = saved[`${ids[i]}.txt`];
      if (isFriendly(message)) assert.equal(file, undefined);
      else assert.deepEqual(file, Buffer.concat([message, Buffer.from('\r\n')]));
    });
    assert.deepEqual(dovecot.messages(), stored.filter(isFriendly));
    // A second run finds nothing new.
    assert.equal(await app.filterMail(), 'Mail filtered:  125 msgs.  375 spam.');
    assert.equal(dovecot.messages().length, 125);
  }));

  test('InTestModeEverythingIsCopiedAndNothingRemoved', () => withMailbox(mixture(20), { settings: { TEST_MODE: 'TRUE' } },
    async (app, dovecot) => {
      for (let run = 0; run < 2; run++) assert.equal(await app.filterMail(), 'Mail filtered:  5 msgs.  15 spam.');
      assert.equal(dovecot.messages().length, 20);
      const note = '**TEST MODE: Msg copied to SpamBox, not removed from InBox';
      const events = app.events();
      assert.equal(events.filter((event) => event === note).length, 30);
      assert.match(events[events.indexOf(note) - 1], /^Removing spam from Sam </);
    }));

  test('TheListsDecide', () => withMailbox([
    mail({ from: 'Ann <ann@known.example>', subject: 'kept by its sender' }),
    mail({ from: 'Bob <bob@strange.example>', subject: 'about JAM, kept by its subject' }),
    mail({ from: 'Eve <eve@known.example>', subject: 'jam from an enemy' }),
    mail({ from: '=?utf-8?Q?=C3=89lo?=\r\n =?utf-8?B?w69zZQ==?= <e@strange.example>', subject: 'a friend in code' }),
    mail({ from: 'Zed <zed@strange.example>', subject: 'nothing' }),
    mail({ from: '', subject: 'no sender' }),
  ], { lists: { friendlist: ['', '@KNOWN.example', '\xe9lo\xefse', '   '], subjectlist: ['jam'], enemylist: ['eve@'] } },
  async (app, dovecot) => {
    assert.equal(await app.filterMail(), 'Mail filtered:  3 msgs.  3 spam.');
    assert.deepEqual(dovecot.messages().map((m) => /Subject: (\w+)/.exec(m)[1]), ['kept', 'about', 'a']);
    assert.deepEqual(app.events().filter((event) => event.startsWith('Removing')), [
      'Removing spam from Eve <eve@known.example>', 'Removing spam from Zed <zed@strange.example>',
      'Removing spam from <no name>']);
  }));

  // The list holds references, as the program writes them; the mail says the same letters in three sets and another case.
  test('ASubjectInAnotherAlphabetKeepsItsMessageWhateverItsLetterCase', () => withMailbox([
    mail({ subject: '=?utf-8?B?0J/QoNCY0JLQldCi?= from Moscow' }),       // capitals
    mail({ subject: '=?koi8-r?Q?=F0=D2=C9=D7=C5=D4?=' }),                // one capital
    mail({ subject: '=?windows-1251?Q?=EF=F0=E8=E2=E5=F2?=' }),          // none
    mail({ subject: '=?utf-8?B?0L/RgNC40LLQtQ==?=' }),                   // a letter is missing
    mail({ subject: 'privet &#1087; 1087' }),
  ], { lists: { subjectlist: ['&#1087;&#1056;&#1080;&#1042;&#1077;&#1058;'] } }, async (app, dovecot) => {
    assert.equal(await app.filterMail(), 'Mail filtered:  3 msgs.  2 spam.');
    assert.deepEqual(dovecot.messages().map((m) => /Subject: (.*)\r/.exec(m)[1].slice(0, 12)),
      ['=?utf-8?B?0J', '=?koi8-r?Q?=', '=?windows-12']);
  }));

  test('AnEmptyMailboxHasNothingToReport', () => withMailbox([], {}, async (app) => {
    assert.equal(await app.filterMail(), 'Mail filtered:  0 msgs.  0 spam.');
  }));

  test('AWrongPasswordIsLoggedAndNothingElseHappens', () => withMailbox(mixture(4), { settings: { POP_PASSWORD: 'SECRET' } },
    async (app, dovecot) => {
      assert.equal(await app.filterMail(), '**Cannot log onto POP3 server. Will try again in 30 mins.');
      assert.equal(dovecot.messages().length, 4);
      assert.deepEqual(app.spamBox(), {});
    }));

  test('AFriendListOfFewerThanEightBytesStopsTheRunBeforeTheLogOn', () => withMailbox(mixture(4),
    { lists: { friendlist: ['a@b.c'] } }, async (app, dovecot) => {
      assert.equal(app.read('data/friendlist.txt').length, 7);
      assert.equal(await app.filterMail(), 'You need to set up your FriendList first!');
      assert.doesNotMatch(dovecot.log(), /Login: user/);
      app.write('data/friendlist.txt', 'a@b.cd\r\n');
      assert.equal(await app.filterMail(), 'Mail filtered:  0 msgs.  4 spam.');
    }));

  test('ASpamBoxThatCannotBeWrittenKeepsTheMail', () => withMailbox(mixture(4), {}, async (app, dovecot) => {
    // A folder stands where each file would go: that stops root as well.
    for (const id of await uniqueIds(dovecot)) fs.mkdirSync(app.path(`spam/${id}.txt`));
    const before = dovecot.messages();
    await app.filterMail();
    assert.deepEqual(dovecot.messages(), before);
    assert.ok(await app.isServing());
  }));

  test('AProgramKilledInTheMiddleOfARunHasDeletedNothing', () => withMailbox(mixture(120), { delay: 5 }, async (app, dovecot) => {
    const stored = dovecot.messages();
    const run = app.filterMail().catch(() => {});
    await until(() => fs.readdirSync(app.path('spam')).length >= 20, 'twenty saved messages');
    app.process.kill();
    await app.ended();
    await run;
    assert.deepEqual(dovecot.messages(), stored);
    await app.run();
    await app.login();
    assert.equal(await app.filterMail(), 'Mail filtered:  30 msgs.  90 spam.');
    assertNothingLost(stored, dovecot.messages(), app);
  }));

  test('ARunInsideARunLosesNothing', () => withMailbox(mixture(120), { delay: 5 }, async (app, dovecot) => {
    const stored = dovecot.messages();
    const first = app.filterMail({ milliseconds: 20000 }).catch(() => {});
    await until(() => fs.readdirSync(app.path('spam')).length >= 10, 'ten saved messages');
    const second = app.filterMail({ milliseconds: 20000 }).catch(() => {});
    const ends = () => app.events().filter((event) => event.startsWith('Mail filtered: ')).length;
    await until(() => ends() === 2, 'the end of both runs', 60000);
    // The other one's answer has no request left to go to.
    await Promise.race([first, second]);
    assertNothingLost(stored, dovecot.messages(), app);
    await app.login();
    assert.equal(await app.filterMail(), 'Mail filtered:  30 msgs.  90 spam.');
    assertNothingLost(stored, dovecot.messages(), app);
    for (const [name, data] of Object.entries(app.spamBox())) assert.ok(data.length > 100, `${name} is empty`);
  }));

  test('TheCloseButtonInTheMiddleOfARunLosesNothing', () => withMailbox(mixture(120), { delay: 5 }, async (app, dovecot) => {
    const stored = dovecot.messages();
    const run = app.filterMail().catch(() => {});
    await until(() => fs.readdirSync(app.path('spam')).length >= 10, 'ten saved messages');
    assert.deepEqual(await app.close(), { code: 0, signal: null });
    await run;
    assert.ok(!app.log().includes('Mail filtered: '), 'the run was still on');
    assertNothingLost(stored, dovecot.messages(), app);
  }));
});
