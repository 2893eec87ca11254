// The settings page: what is told before anything is sent, where it is told, and what is asked before changes are left.

import assert from 'node:assert/strict';
import { after, before, beforeEach, describe } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { smallMailbox } from '../support/mails.mjs';
import { until } from '../support/tools.mjs';

let server;
let app;    // with settings that stay as they are
let other;  // with settings that a test changes
const start = () => Application.start({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}` } });
before(async () => {
  server = await MailServer.start({ messages: smallMailbox() });
  app = await start();
});
after(async () => {
  await app?.stop();
  await other?.stop();
  await server?.stop();
});
async function another() {
  await other?.stop();
  other = await start();
}

const ASK = 'Your changes to the settings have not been saved. Leave the page without them?';

inEachBrowser((userTest) => {
  const settings = async (user) => {
    await user.login();
    await user.go('config');
  };
  const update = (user) => user.page.click('.save button');
  const posted = (one = app) => one.events().filter((event) => event.toLowerCase().startsWith('configupdate.cgi'));
  const sent = () => until(() => posted(other).length > 0, 'the form at the program');
  const problem = async (user, name) => {
    await user.page.waitForSelector(`#${name}-problem:visible`);
    assert.equal(await user.page.getAttribute(`#${name}`, 'aria-invalid'), 'true');
    const described = (await user.page.getAttribute(`#${name}`, 'aria-describedby')).split(' ');
    assert.ok(described.includes(`${name}-problem`), described.join(' '));
    assert.equal(described.includes(`${name}-hint`), await user.page.locator(`#${name}-hint`).count() === 1);
    return await user.text(`#${name}-problem`);
  };
  // Whether nothing of the element lies behind the bar with the button, or outside the window.
  const isClear = (user, selector) => user.page.waitForFunction((one) => {
    const box = document.querySelector(one).getBoundingClientRect(), bar = document.querySelector('.save').getBoundingClientRect();
    return box.height > 0 && box.top >= 0 && box.bottom <= Math.min(bar.top, innerHeight) + 0.5;
  }, selector, { timeout: 3000 }).then(() => true, () => false);

  userTest('TheSectionsComeInTheOrderInWhichTheyAreNeeded', () => app, async (user) => {
    await settings(user);
    assert.deepEqual(await user.page.$$eval('legend', (all) => all.map((one) => one.textContent.split(' ')[0])),
      ['Mailbox', 'Sending', 'Filtering', 'Pages']);
  });

  userTest('WhatCannotBeMeantIsToldAtItsFieldAndNothingIsSent', () => app, async (user) => {
    await settings(user);
    for (const [name, values, told] of [
      ['HTTP_PORT_CFG', ['0', '65536', '70000', 'x', '80.5', '-1'], /^HTTP port takes a whole number from 1 to 65535, for example 7000\.$/],
      ['MESSAGES_PER_PAGE', ['0', '10001', 'all', '1.5'], /^Messages per page takes a whole number from 1 to 10000, for example 15\.$/],
      ['CHECK_MIN', ['often', '5 or 6', 'x30'], /^Filter timer takes a number, for example 30\.$/],
      ['SESSION_MIN', ['long'], /^Session time-out takes a number/],
      ['MAX_SPAM_SIZE', ['1 MB'], /^Maximum spam size takes a number/],
      ['MAX_LINK_SIZE', ['..'], /^Maximum link size takes a number/],
      ['EMAIL_ADDRESS', ['joe', 'joe at home', '@home.example', 'joe@'], /^An email address has an "@" in it, for example joe@mail\.example\.$/],
      ['POP_SERVER', ['mail.example:', 'mail.example:0', 'mail.example:70000', ':995', 'joe@mail.example', 'mail.example/x', 'mail example',
        '[::1', '[::1]995', 'tls://', 'mail.example:pop', ' '], /^".*" is no server that can be read\. Enter a name, or a name and a port, such as mail\.example:995\.$/],
      ['POP_SERVER', ['https://mail.example', 'pop3s://mail.example:995'], /starts with a kind of connection that Vornelle does not know/],
      ['SMTP_SERVER', ['smtp.example:x', '[::1]:x'], /such as mail\.example:465\.$/],
      ['POP_SERVER', ['plain://mail.example:995', 'PLAIN://[::1]:995'], /plain:\/\/ asks for none/],
      ['SMTP_SERVER', ['plain://mail.example:465'], /Enter mail\.example:465\. If you do mean it, press Update again\.$/],
    ]) {
      const before = await user.page.inputValue(`#${name}`);
      for (const value of values) {
        await user.page.fill(`#${name}`, value);
        await update(user);
        assert.match(await problem(user, name), told, value);
        assert.ok(await user.page.$eval(`#${name}`, (field) => field === document.activeElement), `${name}: ${value}`);
      }
      // What stood there before is not held against it; the mark goes with the cause.
      await user.page.fill(`#${name}`, before);
      await user.page.waitForSelector(`#${name}-problem`, { state: 'hidden' });
      assert.equal(await user.page.getAttribute(`#${name}`, 'aria-invalid'), null);
    }
    assert.deepEqual(posted(), []);
  });

  userTest('AProblemIsToldWhenTheFieldIsLeftAndNotInTheMiddleOfAWord', () => app, async (user) => {
    await settings(user);
    await user.page.fill('#EMAIL_ADDRESS', '');
    await user.page.locator('#EMAIL_ADDRESS').pressSequentially('jo');
    await user.page.waitForTimeout(400);
    assert.equal(await user.page.locator('#EMAIL_ADDRESS-problem:visible').count(), 0);
    await user.page.keyboard.press('Tab');
    assert.match(await problem(user, 'EMAIL_ADDRESS'), /has an "@" in it/);
    await user.page.focus('#EMAIL_ADDRESS');
    await user.page.keyboard.press('End');
    await user.page.keyboard.type('@x.example');
    await user.page.waitForSelector('#EMAIL_ADDRESS-problem', { state: 'hidden' });
  });

  // A window of that size from its start: Firefox takes the focus off one whose size is changed.
  for (const [width, height] of [[1280, 800], [390, 700], [640, 300]]) {
    userTest(`NothingThatIsToldOrTypedLiesBehindTheBarAt${width}x${height}`, () => app, async (user) => {
      await settings(user);
      for (const [name, value] of [['EMAIL_ADDRESS', 'joe'], ['SMTP_SERVER', 'x y'], ['CHECK_MIN', 'often'], ['MAX_SPAM_SIZE', 'x'],
        ['HTTP_PORT_CFG', '70000']]) {
        const before = await user.page.inputValue(`#${name}`);
        await user.page.fill(`#${name}`, value);
        await user.page.keyboard.press('Enter');
        await problem(user, name);
        assert.ok(await isClear(user, `#${name}-problem`), `${name}: the problem`);
        assert.ok(await isClear(user, `#${name}`), `${name}: the field`);
        await user.page.fill(`#${name}`, before);
      }
      // Nor what is gone through by the keyboard.
      await user.page.focus('#EMAIL_ADDRESS');
      for (let i = 0; i < 18; i++) {
        await user.page.keyboard.press('Tab');
        const at = await user.page.evaluate(() => (document.activeElement.matches('.field input') ? `#${document.activeElement.id}` : ''));
        if (!at) continue;
        assert.ok(await isClear(user, at), `${at}`);
        if (await user.page.locator(`${at}-hint`).count()) assert.ok(await isClear(user, `${at}-hint`), `${at}-hint`);
      }
    }, { viewport: { width, height } });
  }

  userTest('NothingMovesUnderAClickOnABoxWhoseRowIsPartlyBehindTheBar', () => app, async (user) => {
    await settings(user);
    const box = user.page.locator('#ACTIVE');
    const ticked = await box.isChecked();
    // The box ends where the bar begins, its hint is behind it.
    await user.page.evaluate(() => window.scrollBy(0, document.querySelector('#ACTIVE').getBoundingClientRect().bottom + 2 -
      document.querySelector('.save').getBoundingClientRect().top));
    assert.ok(await user.page.evaluate(() => document.querySelector('#ACTIVE-hint').getBoundingClientRect().bottom >
      document.querySelector('.save').getBoundingClientRect().top), 'the hint is behind the bar');
    const { x, y, width, height } = await box.boundingBox();
    await user.page.mouse.move(x + width / 2, y + height / 2);
    await user.page.mouse.down();
    await user.page.waitForTimeout(250);
    await user.page.mouse.up();
    assert.equal(await box.isChecked(), !ticked);
    await until(() => isClear(user, '#ACTIVE-hint'), 'the hint in sight');
    await box.setChecked(ticked);
    // A press that turns into a swipe moves nothing either, where the field that has the focus has been swiped out of sight.
    await user.page.focus('#POP_SERVER');
    await user.page.waitForTimeout(600);
    const scrolls = await user.page.evaluate(async () => {
      let times = 0;
      window.scrollBy = () => { times++; };
      document.querySelector('#POP_SERVER').closest('.field').style.marginTop = '100vh';
      for (const name of ['pointerdown', 'pointercancel']) document.body.dispatchEvent(new window.PointerEvent(name, { bubbles: true }));
      await new Promise((resolve) => setTimeout(resolve, 300));
      return times;
    });
    assert.equal(scrolls, 0);
  });

  userTest('TheBrowserAsksBeforeATabWithChangesGoesElsewhere', () => app, async (user) => {
    await settings(user);
    await user.page.click('#CHECK_MIN');
    await user.page.keyboard.type('1');
    const asked = user.page.waitForEvent('dialog');
    const gone = user.page.goto(`${user.origin}/`).catch(() => {});
    assert.equal((await asked).type(), 'beforeunload');
    await gone;
  });

  userTest('TheServersOfAWellKnownProviderAreOfferedAndNothingTypedIsOverwritten', () => app, async (user) => {
    await settings(user);
    await user.page.fill('#POP_SERVER', 'my.own.example');
    await user.page.fill('#POP_ACCOUNT', '');
    await user.page.fill('#EMAIL_ADDRESS', 'joe@nobody.example');
    assert.ok(await user.page.isHidden('#provider'));
    await user.page.fill('#EMAIL_ADDRESS', 'Joe@GMX.com ');
    await user.page.waitForSelector('#provider:visible');
    assert.match(await user.text('#provider'), /^GMX \(others\) has the servers pop\.gmx\.com:995 and mail\.gmx\.com:465\. What has to be done there: Allow POP3/);
    await user.picture('settings-provider');
    await user.page.click('#provider button');
    const values = await user.page.$$eval('#POP_SERVER, #POP_ACCOUNT, #SMTP_SERVER, #SMTP_USER', (all) => all.map((one) => one.value));
    assert.deepEqual(values, ['my.own.example', 'Joe@GMX.com', 'mail.gmx.com:465', 'Joe@GMX.com']);
    await user.page.waitForSelector('#provider', { state: 'hidden' });
    await user.page.fill('#EMAIL_ADDRESS', 'joe@hotmail.com');
    assert.match(await user.text('#provider'), /^Outlook\.com takes no password/);
    assert.equal(await user.page.locator('#provider button').count(), 0);
    assert.match(await user.page.getAttribute('#provider a', 'href'), /guide\.htm.*#providers$/);
    assert.deepEqual(posted(), []);
  });

  describe('with settings of their own', () => {
    beforeEach(another);

    userTest('WhatCanBeMeantIsSentAsItWasTyped', () => other, async (user) => {
      await settings(user);
      const typed = { HTTP_PORT_CFG: '65535', MESSAGES_PER_PAGE: '10000', CHECK_MIN: '5', MAX_SPAM_SIZE: '99999', EMAIL_ADDRESS: 'a@b',
        POP_SERVER: ` starttls://127.0.0.1:${server.popPort}`, SMTP_SERVER: '[::1]:9' };
      for (const [name, value] of Object.entries(typed)) await user.page.fill(`#${name}`, value);
      await update(user);
      await user.said('Cannot log onto POP3 Server!');
      await user.said('Cannot log onto SMTP Server!');
      await user.page.waitForSelector('#POP3-note');
      const saved = other.read('Vornelle.ini');
      for (const line of ['HTTP_PORT_CFG=65535', 'MESSAGES_PER_PAGE=10000', 'CHECK_MIN=10', 'MAX_SPAM_SIZE=30000', 'EMAIL_ADDRESS=a@b',
        `POP_SERVER=starttls://127.0.0.1:${server.popPort}`, 'SMTP_SERVER=[::1]:9']) assert.ok(saved.includes(`${line}\r\n`), `${line} in\n${saved}`);
    });

    userTest('AServerWithoutEncryptionAtItsPortIsSentWhenItIsMeant', () => other, async (user) => {
      await settings(user);
      await user.page.fill('#POP_SERVER', 'plain://127.0.0.1:995');
      await update(user);
      assert.match(await problem(user, 'POP_SERVER'), /Enter 127\.0\.0\.1:995\. If you do mean it, press Update again\.$/);
      await user.picture('settings-plain-995');
      assert.deepEqual(posted(other), []);
      await update(user);
      await sent();
      await user.page.waitForSelector('#POP3-note');
      assert.match(other.read('Vornelle.ini'), /POP_SERVER=plain:\/\/127\.0\.0\.1:995\r\n/);
    });

    userTest('ChangesThatAreNotSavedAreNotLeftWithoutAsking', () => other, async (user) => {
      await settings(user);
      await user.go('friendlist');
      assert.deepEqual(user.dialogs, [], 'nothing was changed');
      await user.go('config');
      await user.page.fill('#CHECK_MIN', '20');
      user.agrees = false;
      for (const way of ['nav a[data-for="inbox"]', 'form[action^="mailfilter"] button', 'text=Log out']) {
        const asked = user.dialogs.length;
        await user.page.click(way);
        await until(() => user.dialogs.length > asked, `a question at ${way}`);
        assert.equal(user.dialogs.at(-1), ASK);
        assert.equal(await user.page.inputValue('#CHECK_MIN'), '20');
        assert.ok(await user.page.isEnabled('form[action^="mailfilter"] button'));
      }
      // A place on the same page is no other page.
      const asked = user.dialogs.length;
      await user.page.click('#strip a[href$="#ACTIVE"]');
      assert.equal(user.dialogs.length, asked);
      user.agrees = true;
      await user.go('spambox');
      assert.equal(user.dialogs.at(-1), ASK);
      assert.equal(user.dialogs.length, asked + 1, 'asked once');
      // What is saved is left without a word.
      await user.go('config');
      await user.page.fill('#CHECK_MIN', '20');
      await update(user);
      await sent();
      await user.page.waitForSelector('#CHECK_MIN[value="20"]');
      await user.go('inbox');
      assert.equal(user.dialogs.length, asked + 1);
    });

    userTest('ARefusedPasswordIsToldToBeTheLogInTooAndTheOneOfBeforeCanBePutBack', () => other, async (user) => {
      await settings(user);
      await user.page.fill('#POP_PASSWORD', 'wrong');
      await update(user);
      await user.said('Cannot log onto POP3 Server!');
      await user.page.waitForSelector('#log-in-note');
      assert.match(await user.text('#POP3-note'), /While logging on, .* said: .* account or password/);
      assert.match(await user.text('#log-in-note'), /are also your log-in to these pages, right or wrong/);
      await user.picture('settings-refused-password');
      assert.match(other.read('Vornelle.ini'), /POP_PASSWORD=wrong\r\n/);
      await user.page.click('form[action^="earlierlogin"] button');
      await user.page.waitForSelector('#log-in-note', { state: 'detached' });
      await user.page.waitForFunction(() => document.querySelector('#strip').textContent.includes('Saved. The mail servers'));
      assert.match(other.read('Vornelle.ini'), /POP_PASSWORD=secret\r\n/);
    });
  });
}, { own: true });
