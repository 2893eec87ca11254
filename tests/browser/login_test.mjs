// Logging in and out as people do it: values that browsers would encode, wrong passwords, sessions that end.

import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';

import { Browser, BROWSERS } from '../support/browsers.mjs';
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

for (const name of BROWSERS) {
  describe(name, () => {
    let browser;
    before(async () => { browser = await Browser.open(name); });
    after(() => browser?.close());

    // A user for one test.
    const withUser = (body) => async () => {
      const user = await browser.user(app);
      try {
        await body(user);
      } catch (error) {
        await user.picture(`failed-login-${Date.now()}`).catch(() => {});
        throw error;
      } finally {
        await user.close();
      }
    };

    test('LoggingInLeadsToTheSpamBoxAndLoggingOutToTheLoginPage', withUser(async (user) => {
      await user.open('/');
      await user.picture('login');
      await user.login();
      assert.match(user.page.url(), /displaySpambox\.htm\?s=[A-Z]{64}$/);
      await user.page.click('text=Log out');
      await user.page.waitForSelector('#login');
      assert.equal(new URL(user.page.url()).pathname, '/');
      assert.ok(app.events().includes('Logout'));
    }));

    test('AWrongPasswordIsToldAndTheFormIsThereAgain', withUser(async (user) => {
      await user.open('/');
      await user.logOnWith('joe', 'wrong');
      await user.said('Login incorrect!');
      await user.page.waitForSelector('#login button:enabled');
      assert.ok(app.events().includes('Bad login: joe, wrong'));
      await user.picture('wrong-password');
      await user.logOnWith('joe', 'secret');
      await user.page.waitForSelector('#boxes');
      assert.deepEqual(user.dialogs, ['Login incorrect!']);
    }));

    test('AnAmpersandInThePasswordIsToldAndNothingIsSent', withUser(async (user) => {
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
    }));

    test('ACharacterThatTheCodePageLacksIsToldAndNothingIsSent', withUser(async (user) => {
      await user.open('/');
      await user.logOnWith('joe', 'p\u0142');
      assert.match(await user.text('#password-problem'), /outside the character set/);
    }));

    test('AnExpiredSessionInTheMiddleOfAFormIsToldAndTheEntryIsNotStored', withUser(async (user) => {
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
    }));

    test('ASecondBrowserThatLogsInEndsTheFirstOnesSession', withUser(async (user) => {
      await user.login();
      await app.login();
      await user.page.click('nav a[data-for="friendlist"]');
      await user.page.waitForSelector('#login');
      assert.ok((await user.text()).includes(ended));
    }));

    test('ADoubleClickOnLogInLogsInOnce', withUser(async (user) => {
      await user.open('/');
      await user.page.fill('#account', 'joe');
      await user.page.fill('#password', 'secret');
      const before = app.events().length;
      await user.page.dblclick('#login button');
      await user.page.waitForSelector('#boxes');
      await user.go('friendlist');
      const events = app.events().slice(before);
      assert.equal(events.filter((event) => event === 'Successful login: joe').length, 1);
    }));
  });

  describe(`${name}, first start`, () => {
    test('WithoutSettingsTheLoginLeadsToTheSettingsPage', async () => {
      const fresh = await Application.start({ settings: { POP_ACCOUNT: '', POP_PASSWORD: '', EMAIL_ADDRESS: '' } });
      const browser = await Browser.open(name);
      try {
        const user = await browser.user(fresh);
        await user.open('/');
        await user.logOnWith('', '');
        await user.shows('config');
        assert.ok(await user.page.isVisible('#welcome'));
        await user.picture('first-start', { whole: true });
        await user.go('spambox');
        assert.ok(await user.page.isVisible('p.empty'));
        await user.picture('spambox-empty');
      } finally {
        await browser.close();
        await fresh.stop();
      }
    });
  });

  // What people really have for account names and passwords. The program's settings file is Windows-1252.
  const account = 'joe@home.example';
  const password = 'pass word +1 50% "x" \'y\' \xe4\xf6\xfc\xdf';
  for (const wire of ['gateway', 'plain wire']) {
    test(`${name}, ${wire}: AnAccountAPasswordAndASearchArriveAsTyped`, async () => {
      const port = wire === 'plain wire' ? { HTTP_PORT_CFG: '80' } : {};
      const own = await Application.start({
        settings: { POP_ACCOUNT: account, POP_PASSWORD: password, POP_SERVER: '', ...port },
        lists: { friendlist: ['anna+list@friend.example', '@friend.example', '100%'] },
      });
      const browser = await Browser.open(name);
      try {
        if (wire === 'plain wire') assert.equal(own.port, 80, 'port 80 of this machine is taken or not allowed');
        const user = await browser.user(own, wire === 'plain wire' ? { host: '127.0.0.1' } : {});
        await user.login(account, password);
        assert.ok(own.events().includes(`Successful login: ${account}`));
        await user.go('find');
        for (const [text, found] of [['@friend.example', ['anna+list@friend.example', '@friend.example']],
          ['anna+list@', ['anna+list@friend.example']], ['100%', ['100%']], ['"\xe4\xf6" \'', []]]) {
          await user.page.fill('#findinlists', text);
          await user.page.click('button:text("Search")');
          await user.page.waitForFunction((t) => document.querySelector('.result p')?.textContent.trim() === `Last search: ${t}`, text);
          const result = await user.text('.result');
          assert.deepEqual([...result.matchAll(/^- (.*)$/gm)].map((match) => match[1].trim()), found);
        }
        if (wire === 'plain wire') await user.picture('plain-wire-search');
        // An entry with percent and ampersand comes into the list as typed.
        await user.go('subjectlist');
        await user.page.fill('#addinput', 'jam & 50% bread @home');
        await user.page.click('button:text("Add")');
        await user.page.waitForSelector('option');
        assert.equal(own.read('data/subjectlist.txt'), 'jam & 50% bread @home\r\n');
        await user.page.click('text=Log out');
        await user.page.waitForSelector('#login');
      } finally {
        await browser.close();
        await own.stop();
      }
    });
  }
}
