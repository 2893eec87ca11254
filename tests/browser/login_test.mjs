// Logging in and out as people do it: values that browsers would encode, wrong passwords, sessions that end.

import assert from 'node:assert/strict';
import { after, before, describe } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { smallMailbox } from '../support/mails.mjs';

let app;
let server;
before(async () => {
  server = await MailServer.start({ messages: smallMailbox() });
  app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}` } });
});
after(async () => {
  await app?.stop();
  await server?.stop();
});

const ended = 'Your session has ended. Please login again. Your sessions last 30 minutes.';

inEachBrowser((userTest) => {
  userTest('LoggingInLeadsToTheSpamBoxAndLoggingOutToTheLoginPage', () => app, async (user) => {
    await user.open('/');
    await user.picture('login');
    await user.loginByForm();
    assert.match(user.page.url(), /displaySpambox\.htm\?s=[A-Z]{64}$/);
    await user.page.click('text=Log out');
    await user.page.waitForSelector('#login');
    assert.equal(new URL(user.page.url()).pathname, '/');
    assert.ok(app.events().includes('Logout'));
  });

  userTest('AnEmptyAnnouncementTakesNoRoom', () => app, async (user) => {
    await user.open('/');
    const above = await user.page.evaluate(() => {
      const form = document.querySelector('form');
      const { borderTopWidth, paddingTop } = getComputedStyle(form);
      return { empty: form.querySelectorAll('p:empty:not([id])').length, text: form.firstElementChild.textContent,
        room: form.querySelector('label').getBoundingClientRect().top - form.getBoundingClientRect().top
          - parseFloat(borderTopWidth) - parseFloat(paddingTop) };
    });
    assert.deepEqual(above, { empty: 1, text: '', room: 0 });
  });

  userTest('AWrongPasswordIsToldAndTheFormIsThereAgain', () => app, async (user) => {
    await user.open('/');
    await user.logOnWith('joe', 'wrong');
    await user.said('Login incorrect!');
    await user.page.waitForSelector('#login button:enabled');
    assert.ok(app.events().includes('Bad login: joe, wrong'));
    await user.picture('wrong-password');
    await user.logOnWith('joe', 'secret');
    await user.page.waitForSelector('#boxes');
    assert.deepEqual(user.dialogs, ['Login incorrect!']);
  });

  userTest('AnAmpersandInThePasswordIsToldAndNothingIsSent', () => app, async (user) => {
    await user.open('/');
    const before = app.log();
    await user.logOnWith('joe', 'a&b');
    assert.match(await user.text('#password-problem'), /A password with "&" cannot be sent/);
    assert.equal(await user.page.getAttribute('#password', 'aria-invalid'), 'true');
    await user.picture('ampersand');
    assert.equal(app.log(), before);
    await user.page.fill('#password', 'secret');
    await user.page.click('#login button');
    await user.page.waitForSelector('#boxes');
  });

  userTest('ACharacterThatTheCodePageLacksIsToldAndNothingIsSent', () => app, async (user) => {
    await user.open('/');
    await user.logOnWith('joe', 'p\u0142');
    assert.match(await user.text('#password-problem'), /outside the character set/);
  });

  const stored = (user) => user.page.evaluate(() => JSON.stringify(Object.entries(sessionStorage)));
  const logInAgain = async (user, page) => {
    await user.page.waitForSelector('#login');
    assert.ok((await user.text()).includes(ended));
    assert.equal(new URL(user.page.url()).pathname, '/');
    assert.doesNotMatch(user.page.url() + await stored(user), /[A-Z]{64}/, 'no session id is left');
    await user.logOnWith('joe', 'secret');
    await user.shows(page);
  };

  userTest('AnEntryThatWasTypedIsThereAgainAfterTheLogInAndNotStored', () => app, async (user) => {
    await user.loginByForm();
    await user.go('enemylist');
    await user.page.fill('#addinput', 'late@entry.example');
    await app.get('/logout.cgi');
    await user.page.click('button:text("Add")');
    await user.page.waitForSelector('#login');
    assert.ok((await user.text()).includes(ended));
    await user.picture('expired-session');
    await logInAgain(user, 'enemylist');
    await user.page.waitForFunction(() => document.querySelector('#addinput').value === 'late@entry.example');
    assert.match(await user.text('.kept'), /^You are logged in again\. What you had typed is here; it has not been sent\.$/);
    await user.picture('typed-text-is-back');
    assert.ok(!app.read('data/enemylist.txt').includes('late@entry.example'));
    await user.page.click('button:text("Add")');
    await user.page.waitForSelector('option:text("late@entry.example")', { state: 'attached' });
    app.write('data/enemylist.txt', '');
    // Once: the next page knows nothing of it.
    await user.go('friendlist');
    assert.equal(await user.page.inputValue('#addinput'), '');
    assert.doesNotMatch(await stored(user), /late@entry/);
  });

  userTest('SettingsThatWereTypedAreThereAgainButNoPassword', () => app, async (user) => {
    await user.loginByForm();
    await user.go('config');
    await user.page.fill('#CHECK_MIN', '21');
    await user.page.fill('#SMTP_USER', 'josephine');
    await user.page.check('#ACTIVE');
    await user.page.fill('#POP_PASSWORD', 'top-secret-1');
    await user.page.fill('#SMTP_PASSWORD', 'top-secret-2');
    await app.get('/logout.cgi');
    await user.page.click('.save button');
    await user.page.waitForSelector('#login');
    assert.doesNotMatch(await stored(user), /top-secret/);
    await logInAgain(user, 'config');
    await user.page.waitForSelector('.kept');
    assert.match(await user.text('.kept'), /Passwords are not kept: please type them once more\.$/);
    const values = await user.page.$$eval('#CHECK_MIN, #SMTP_USER, #POP_PASSWORD, #SMTP_PASSWORD', (all) => all.map((one) => one.value));
    assert.deepEqual(values.sort(), ['', '******', '21', 'josephine']);
    assert.ok(await user.page.isChecked('#ACTIVE'));
    assert.doesNotMatch(app.read('Vornelle.ini'), /josephine|CHECK_MIN=21/);
    // It counts as not saved.
    user.agrees = false;
    await user.page.click('nav a[data-for="inbox"]');
    await user.said('have not been saved');
  });

  userTest('ASearchAndTicksOfRowsAreThereAgainAndNothingIsDone', () => app, async (user) => {
    await user.loginByForm();
    await user.go('find');
    await user.page.fill('#findinlists', 'friend');
    await app.get('/logout.cgi');
    await user.page.click('button:text("Search")');
    await logInAgain(user, 'find');
    await user.page.waitForFunction(() => document.querySelector('#findinlists').value === 'friend');
    await user.go('inbox');
    const [first] = await user.subjects();
    await user.tick('D', first);
    await app.get('/logout.cgi');
    const before = server.maildrop.uids();
    await user.page.click('button[name="SUBMIT3"]');
    await logInAgain(user, 'inbox');
    await user.page.waitForFunction(() => document.querySelectorAll('#boxes tbody input:checked').length === 1);
    assert.ok(await user.page.isChecked(`input[name="D${(await user.rowOf(first)).number}"]`));
    assert.deepEqual(server.maildrop.uids(), before);
  });

  userTest('ThePageThatWasWantedComesAfterTheLogIn', () => app, async (user) => {
    await user.loginByForm();
    const { sessionId } = user;
    await app.get('/logout.cgi');
    // A bookmark, an address without a session, one that the log-in was refused for once, and what is no page.
    for (const [target, page, query] of [[`displayinbox.htm?s=${sessionId}&MSG=0`, 'inbox', /[?]s=[A-Z]{64}&MSG=0$/],
      ['displayfriendlist.htm', 'friendlist', /[?]s=[A-Z]{64}$/], [`config.html?s=${sessionId}`, 'spambox', /[?]s=[A-Z]{64}$/],
      [`findinlists.htm?s=${sessionId}`, 'find', /[?]s=[A-Z]{64}&findinlists=&END=1$/]]) {
      await user.open(`/${target}`);
      await user.logOnWith('joe', 'wrong');
      await user.page.waitForSelector('#refused:visible');
      assert.match(await user.text('#refused'), /are those that stand in Vornelle's settings, right or wrong/);
      await user.logOnWith('joe', 'secret');
      await user.shows(page);
      assert.match(new URL(user.page.url()).search, query);
      assert.ok(!(await user.page.locator('.kept').count()), 'nothing had been typed');
      await app.get('/logout.cgi');
    }
  });

  userTest('WhatIsMadeOfAnAddressLeadsNowhereElseAndDoesNothing', () => app, async (user) => {
    for (const wanted of ['//127.0.0.1:1/config.htm', 'http://127.0.0.1:1/config.htm', '/deletefromlist.cgi?s=&deletefromlist=0&type=FriendList&END=1',
      'javascript:alert(1)//config.htm', '/UNLOADME?config.htm', '/x/config.htm']) {
      await user.open('/');
      await user.page.evaluate((address) => {
        sessionStorage.setItem('wanted', address);
        sessionStorage.setItem('draft', JSON.stringify({ page: address, values: { addinput: '<img src=x onerror=alert(2)>' } }));
      }, wanted);
      await user.logOnWith('joe', 'secret');
      await user.shows('spambox');
      await user.page.waitForTimeout(100);
      assert.match(user.page.url(), /displaySpambox\.htm\?s=[A-Z]{64}$/);
    }
    assert.deepEqual(user.dialogs, []);
    assert.match(app.read('data/friendlist.txt'), /^@friend\.example/);
  });

  userTest('LoggingOutKeepsNothingOfWhatWasTyped', () => app, async (user) => {
    await user.loginByForm();
    await user.go('enemylist');
    await user.page.fill('#addinput', 'never@sent.example');
    await user.page.click('text=Log out');
    await user.page.waitForSelector('#login');
    assert.doesNotMatch(await stored(user), /never@sent/);
    assert.ok(await user.page.isHidden('#kept'));
    assert.ok(await user.page.isHidden('#refused'));
    await user.logOnWith('joe', 'secret');
    await user.shows('spambox');
  });

  userTest('ASecondBrowserThatLogsInEndsTheFirstOnesSession', () => app, async (user) => {
    await user.loginByForm();
    await app.login();
    await user.page.click('nav a[data-for="friendlist"]');
    await user.page.waitForSelector('#login');
    assert.ok((await user.text()).includes(ended));
  });

  userTest('ADoubleClickOnLogInLogsInOnce', () => app, async (user) => {
    await user.open('/');
    await user.page.fill('#account', 'joe');
    await user.page.fill('#password', 'secret');
    const before = app.events().length;
    await user.page.dblclick('#login button');
    await user.page.waitForSelector('#boxes');
    await user.go('friendlist');
    const events = app.events().slice(before);
    assert.equal(events.filter((event) => event === 'Successful login: joe').length, 1);
  });
});

describe('on the first start', () => {
  let fresh;
  before(async () => {
    fresh = await Application.start({ settings: { POP_ACCOUNT: '', POP_PASSWORD: '', EMAIL_ADDRESS: '' } });
  });
  after(() => fresh?.stop());
  inEachBrowser((userTest) => {
    userTest('TheLoginLeadsToTheSettingsPage', () => fresh, async (user) => {
      await user.open('/');
      await user.logOnWith('', '');
      await user.shows('config');
      assert.ok(await user.page.isVisible('#welcome'));
      await user.picture('first-start', { whole: true });
      await user.go('spambox');
      assert.ok(await user.page.isVisible('p.empty'));
      await user.picture('spambox-empty');
    });
  });
});
