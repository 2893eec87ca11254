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
    await user.login();
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

  userTest('AnExpiredSessionInTheMiddleOfAFormIsToldAndTheEntryIsNotStored', () => app, async (user) => {
    await user.login();
    await user.go('enemylist');
    await user.page.fill('#addinput', 'late@entry.example');
    await app.get('/logout.cgi');
    await user.page.click('button:text("Add")');
    await user.page.waitForSelector('#login');
    assert.ok((await user.text()).includes(ended));
    await user.picture('expired-session');
    assert.ok(!app.read('data/enemylist.txt').includes('late@entry.example'));
    await user.logOnWith('joe', 'secret');
    await user.page.waitForSelector('#boxes');
  });

  userTest('ASecondBrowserThatLogsInEndsTheFirstOnesSession', () => app, async (user) => {
    await user.login();
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
