// Rows and entries: what is asked before an entry goes on a list, Friend and Enemy for one row and for many, and restoring.

import assert from 'node:assert/strict';
import { after, before, beforeEach } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { friendly, mail } from '../support/mails.mjs';
import { until } from '../support/tools.mjs';

let app;
let server;
before(async () => {
  server = await MailServer.start();
  app = await Application.start({ settings: {
    EMAIL_ADDRESS: 'wilma@home.example', POP_SERVER: `127.0.0.1:${server.popPort}`, SMTP_SERVER: `127.0.0.1:${server.smtpPort}`,
    SMTP_USER: 'joe', SMTP_PASSWORD: 'secret', NEW_WINDOW: 'FALSE',
  } });
});
after(async () => {
  await app?.stop();
  await server?.stop();
});

const FRIENDS = 'data/friendlist.txt';
const ENEMIES = 'data/enemylist.txt';
const entriesOf = (file) => app.read(file).split('\r\n').filter(Boolean);

// Message "a" is of a stranger, "b" of an enemy, "c" of a friend, "d" of a stranger again.
const SENDERS = {
  a: '"Ann O\'Hara" <Ann.O\'Hara@x.example>',
  b: 'Bob <bob@enemy.example>',
  c: 'Cleo <cleo@friend.example>',
  d: '"wilma@home.example" <d+news@y.example>',
};
// Keys of their own for each test: what has been restored is remembered by its key.
let round = 0;
beforeEach(() => {
  round++;
  for (const name of Object.keys(app.spamBox())) app.remove(`spam/${name}`);
  for (const [name, from] of Object.entries(SENDERS)) {
    app.write(`spam/${name}${round}.txt`, mail({ from, subject: name }).toString('latin1'));
  }
  server.maildrop.messages = [];
  server.maildrop.add({ uid: 'f1', data: friendly('kept-1') });
  server.smtp.options.faults = [];
  app.write(FRIENDS, '@friend.example\r\n');
  app.write(ENEMIES, '@enemy.example\r\n');
});

inEachBrowser((userTest) => {
  const row = (subject, rest = '') => `#boxes tr:has(td.subject a:text-is("${subject}")) ${rest}`;
  const strip = async (user, text) => {
    await user.page.waitForFunction((wanted) => document.querySelector('#strip').textContent.includes(wanted), text);
  };
  const add = async (user, entry) => {
    await user.page.fill('#addinput', entry);
    await user.page.click('button:text-is("Add")');
  };

  userTest('AnEntryThatMatchesNearlyEverybodyAsksFirst', () => app, async (user) => {
    await user.login();
    await user.go('friendlist');
    user.agrees = false;
    for (const [entry, words] of [
      ['eve', 'It has fewer than five letters.'],
      ['robert', 'It has neither "@" nor "."'],
      ['@gmail.com', 'It matches everybody who has an address at gmail.com.'],
      ['.info', 'It matches every address that ends in ".info".'],
      ['@home.example', 'It matches your own address wilma@home.example, which much spam claims to come from.'],
      ['bob@enemy.example', 'The EnemyList has "@enemy.example", which wins'],
    ]) {
      await add(user, entry);
      await user.said(words);
      assert.ok(user.dialogs.at(-1).startsWith(`Put "${entry}" on the FriendList?\n\n`), user.dialogs.at(-1));
      assert.match(user.dialogs.at(-1), /Of what was shown last, .*\d of 4 messages in the SpamBox would match\.$/);
      assert.equal(await user.page.inputValue('#addinput'), entry, 'what was typed stays');
    }
    assert.deepEqual(entriesOf(FRIENDS), ['@friend.example']);
    user.agrees = true;
    const asked = user.dialogs.length;
    await add(user, 'robert');
    await strip(user, 'Added "robert" to the FriendList.');
    await add(user, 'zoe@z.example');
    await strip(user, 'Added "zoe@z.example" to the FriendList.');
    assert.equal(user.dialogs.length, asked + 1, 'an address is no reason to ask');
    assert.deepEqual(entriesOf(FRIENDS), ['@friend.example', 'robert', 'zoe@z.example']);
  });

  userTest('AnEnemyWhoIsAFriendAndAShortSubjectAskFirst', () => app, async (user) => {
    await user.login();
    user.agrees = false;
    await user.go('enemylist');
    await add(user, 'friend.example');
    await user.said('The FriendList has "@friend.example", whose mail would be spam from then on.');
    await user.go('subjectlist');
    await add(user, 're:');
    await user.said('It has fewer than five letters.');
    assert.deepEqual(entriesOf(ENEMIES), ['@enemy.example']);
  });

  userTest('TheQuestionTellsHowManyRowsOfThePageWouldMatch', () => app, async (user) => {
    await user.login();
    user.agrees = false;
    await user.page.fill('#addinput', 'Example');
    await user.page.click('button:text("Add to EnemyList")');
    await user.said('On this page 4 of 4 messages would match.');
    await user.page.fill('#addinput', '"ann');
    await user.page.click('button:text("Add to FriendList")');
    await user.said('On this page 1 of 4 messages would match.');
    await user.go('inbox');
    await user.page.fill('#addinput', 'fay');
    await user.page.click('button:text("Add to EnemyList")');
    await user.said('On this page 1 of 1 message would match.');
    assert.deepEqual(entriesOf(ENEMIES), ['@enemy.example']);
  });

  userTest('ThePreviewAsksToo', () => app, async (user) => {
    app.write('spam/own.txt', mail({ from: 'wilma@home.example', subject: 'own' }).toString('latin1'));
    await user.login();
    await user.page.click('#boxes a:text-is("own")');
    await user.page.waitForSelector('main.preview');
    user.agrees = false;
    await user.page.click('main button:text-is("Enemy")');
    await user.said('mail that you send to yourself would be spam.');
    assert.deepEqual(entriesOf(ENEMIES), ['@enemy.example']);
  });

  userTest('FriendAndEnemyOfARowLeaveThePageAsItIs', () => app, async (user) => {
    await user.login();
    await user.page.evaluate(() => { window.same = true; });
    await user.tick('R', 'a');
    await user.tick('R', 'd');
    await user.page.click(row('a', 'button.friend'));
    await strip(user, 'Added "ann.o\'hara@x.example" to the FriendList.');
    await user.page.waitForSelector(row('a', '.mark.friend'));
    assert.ok(app.events().includes("FriendList add: ann.o'hara@x.example"));
    assert.equal(await user.page.evaluate(() => document.activeElement.textContent.slice(0, 3)), 'Ann');
    await user.page.click(row('d', 'button.enemy'));
    await user.page.waitForSelector(row('d', '.mark.enemy'));
    assert.deepEqual(entriesOf(ENEMIES), ['@enemy.example', 'd+news@y.example']);
    assert.ok(await user.page.isChecked(row('a', 'td.restore input')));
    assert.ok(!await user.page.isChecked(row('d', 'td.restore input')), 'an enemy\'s message is not restored');
    assert.equal(await user.text('button[name="SUBMIT3"]'), 'Restore 1');
    assert.ok(await user.page.evaluate(() => window.same));
    assert.deepEqual(user.dialogs, []);
    await user.picture('rows-marked');
    // The page, when it is made anew, tells the same.
    await user.go('spambox');
    assert.deepEqual(await user.page.$$eval('#boxes .mark', (marks) => marks.map((mark) => mark.textContent).sort()),
      ['enemy', 'enemy', 'friend', 'friend']);
  });

  userTest('AllTickedRowsGoOnAListAtOnce', () => app, async (user) => {
    await user.login();
    assert.ok(!await user.page.isVisible('.acts button.enemy'));
    await user.tick('D', 'a');
    await user.tick('D', 'd');
    assert.equal(await user.text('.acts button.enemy'), 'Enemy 2');
    await user.page.click('.acts button.enemy');
    await strip(user, 'Added 2 entries to the EnemyList.');
    assert.deepEqual(entriesOf(ENEMIES), ['@enemy.example', "ann.o'hara@x.example", 'd+news@y.example']);
    await user.page.waitForSelector(row('d', '.mark.enemy'));
    assert.equal(await user.text('button[name="SUBMIT3"]'), 'Delete 2');
  });

  userTest('AClickOnASenderPutsItsAddressIntoTheFieldAndOffersTheWholeTextAndTheDomain', () => app, async (user) => {
    await user.login();
    await user.page.click(row('d', 'td.from a'));
    assert.equal(await user.page.inputValue('#addinput'), 'd+news@y.example');
    assert.deepEqual(await user.page.$$eval('.shorter button', (all) => all.map((one) => one.textContent)),
      ['"wilma@home.example" <d+news@y.example>', '@y.example']);
    await user.page.click('.shorter button >> nth=0');
    assert.equal(await user.page.inputValue('#addinput'), '"wilma@home.example" <d+news@y.example>');
    await user.page.click('.shorter button:text-is("d+news@y.example")');
    await user.page.click('button:text("Add to EnemyList")');
    await strip(user, 'Added "d+news@y.example" to the EnemyList.');
    assert.deepEqual(entriesOf(ENEMIES), ['@enemy.example', 'd+news@y.example']);
    await user.page.waitForFunction(() => !document.querySelector('td.restore input:checked'));
    assert.equal(await user.page.inputValue('#addinput'), '');
  });

  userTest('TheButtonNamesWhatIsTickedAndIsRedOnlyForDeletions', () => app, async (user) => {
    await user.login();
    const button = async () => user.page.$eval('button[name="SUBMIT3"]', (one) => `${one.textContent}${one.classList.contains('danger') ? ', red' : ''}`);
    assert.equal(await button(), 'Restore / delete checked');
    await user.tick('R', 'a');
    assert.equal(await button(), 'Restore 1');
    await user.tick('D', 'b');
    assert.equal(await button(), 'Restore 1, delete 1, red');
    await user.page.uncheck(row('a', 'td.restore input'));
    assert.equal(await button(), 'Delete 1, red');
    await user.go('inbox');
    await user.tick('D', 'kept-1');
    assert.equal(await button(), 'Delete 1, red');
  });

  userTest('RestoringOffersToBefriendTheSenderAndMarksTheRow', () => app, async (user) => {
    await user.login();
    assert.ok(!await user.page.isVisible('.offer label'));
    await user.tick('R', 'c');
    assert.ok(!await user.page.isVisible('.offer label'), 'a friend is one already');
    await user.tick('R', 'b');
    assert.match(await user.text('.offer'), /^bob@enemy\.example is on the EnemyList: the next run catches this mail again\./);
    await user.page.uncheck(row('b', 'td.restore input'));
    await user.tick('R', 'a');
    assert.equal((await user.text('.offer')).trim(), 'and put the sender on the FriendList');
    assert.ok(await user.page.isChecked('.offer input'));
    await user.picture('restore-offer');
    await user.page.click('button[name="SUBMIT3"]');
    await strip(user, '2 restored, "ann.o\'hara@x.example" put on the FriendList');
    await user.shows('spambox');
    assert.deepEqual(entriesOf(FRIENDS), ['@friend.example', "ann.o'hara@x.example"]);
    assert.equal(server.maildrop.messages.length, 3);
    assert.equal(await user.text(row('a', 'td.date .mark')), 'restored');
    assert.equal(await user.page.locator('td.date .mark').count(), 2);
    assert.deepEqual(user.dialogs, []);
    await user.picture('restored');
  });

  userTest('WhoThinksBetterOfItMakesNoFriend', () => app, async (user) => {
    await user.login();
    await user.tick('R', 'a');
    await user.tick('R', 'd');
    assert.equal((await user.text('.offer')).trim(), 'and put the 2 senders who are on no list on the FriendList');
    await user.page.uncheck('.offer input');
    await user.page.uncheck(row('d', 'td.restore input'));
    assert.ok(!await user.page.isChecked('.offer input'), 'a no stays one');
    await user.tick('R', 'd');
    await user.page.click('button[name="SUBMIT3"]');
    await strip(user, '2 restored');
    assert.deepEqual(entriesOf(FRIENDS), ['@friend.example']);
  });

  userTest('AServersRefusalIsToldInItsWords', () => app, async (user) => {
    server.smtp.options.faults = [{ verb: 'MAIL', nth: 1, error: '553 5.7.1 you are not ann' }];
    await user.login();
    await user.tick('R', 'a');
    await user.page.click('button[name="SUBMIT3"]');
    await strip(user, '0 restored, 1 could not be');
    await strip(user, 'you are not ann');
    await user.shows('spambox');
    assert.equal(await user.page.locator(row('a', 'td.date .mark')).count(), 0);
    await user.picture('restore-refused');
  });

  userTest('InTestModeRestoringSaysThatTheMessageIsStillInTheMailbox', () => app, async (user) => {
    const words = 'Test mode: what was caught in it is still in your mailbox.';
    await user.login();
    await user.go('config');
    await user.page.check('#TEST_MODE');
    await user.page.click('button:text("Update")');
    await until(() => app.read('Vornelle.ini').includes('TEST_MODE=TRUE'), 'test mode');
    await user.shows('config');
    try {
      await user.go('spambox');
      assert.ok(!await user.page.isVisible('.offer .hint'));
      await user.tick('R', 'c');
      assert.equal((await user.text('.offer')).trim(), words);
      await user.page.click('#boxes a:text-is("a")');
      await user.page.waitForSelector('main.preview');
      assert.ok((await user.text('form.restore')).includes(words));
    } finally {
      await user.go('config');
      await user.page.uncheck('#TEST_MODE');
      await user.page.click('button:text("Update")');
      await until(() => app.read('Vornelle.ini').includes('TEST_MODE=FALSE'), 'the end of test mode');
    }
  });

  userTest('ThePreviewRestoresAndBefriends', () => app, async (user) => {
    await user.login();
    await user.page.click('#boxes a:text-is("a")');
    await user.page.waitForSelector('main.preview');
    assert.ok(await user.page.isChecked('form.restore input[name="befriend"]'));
    await user.picture('preview-restore');
    await user.page.click('form.restore button');
    await strip(user, '1 restored, "ann.o\'hara@x.example" put on the FriendList');
    await user.page.waitForSelector('form.restore .mark:text-is("restored")');
    assert.equal(await user.page.locator('form.restore input[name="befriend"]').count(), 0);
    assert.deepEqual(entriesOf(FRIENDS), ['@friend.example', "ann.o'hara@x.example"]);
  });

  userTest('WhenTheSessionIsOverAButtonOfARowLeadsToTheLogIn', () => app, async (user) => {
    await user.login();
    await app.get('/logout.cgi');
    await user.page.click(row('a', 'button.friend'));
    await user.page.waitForSelector('#login');
    assert.deepEqual(entriesOf(FRIENDS), ['@friend.example']);
  });

  userTest('WithoutScriptsMessagesAreRestoredAndDeletedAndSendersBefriended', () => app, async (user) => {
    await user.login();
    await user.page.check(row('a', 'td.restore input'));
    await user.page.check(row('b', 'td.delete input'));
    await user.page.check('.offer input');
    await user.page.click('button[name="SUBMIT3"]');
    await user.page.waitForSelector(row('a', 'td.date .mark'));
    assert.ok(!app.exists(`spam/b${round}.txt`));
    assert.equal(server.maildrop.messages.length, 2);
    assert.deepEqual(entriesOf(FRIENDS), ['@friend.example', "ann.o'hara@x.example"]);
  }, { javaScriptEnabled: false });
});
