// What takes long or changes something: deleting, restoring, filtering, impatient clicks, several tabs at once.

import assert from 'node:assert/strict';
import { after, before, beforeEach } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { DelayProxy } from '../support/delay_proxy.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { friendly, spam } from '../support/mails.mjs';
import { until } from '../support/tools.mjs';

// A server that answers slowly, so that something is always under way: a fetch takes a second or two.
const DELAY = 150;

let app;
let server;
let slow;
before(async () => {
  server = await MailServer.start();
  slow = await DelayProxy.start(server.popPort, DELAY);
  app = await Application.start({ settings: {
    POP_SERVER: `127.0.0.1:${slow.port}`, SMTP_SERVER: `127.0.0.1:${server.smtpPort}`,
    SMTP_USER: 'joe', SMTP_PASSWORD: 'secret', NEW_WINDOW: 'FALSE',
  } });
});
after(async () => {
  await app?.stop();
  await slow?.stop();
  await server?.stop();
});

// A mailbox with two friends' messages, an empty SpamBox and lists as they were.
beforeEach(() => {
  server.maildrop.messages = [];
  for (const message of [{ uid: 'f1', data: friendly('kept-1') }, { uid: 'f2', data: friendly('kept-2') }]) server.maildrop.add(message);
  for (const name of Object.keys(app.spamBox())) app.remove(`spam/${name}`);
  app.write('data/friendlist.txt', '@friend.example\r\n');
  app.write('data/enemylist.txt', 'old@enemy.example\r\n');
});

function addSpam(...names) {
  for (const name of names) server.maildrop.add({ uid: name, data: spam(name) });
}
function saveSpam(...names) {
  for (const name of names) app.write(`spam/${name}.txt`, spam(name).toString('latin1'));
}

// The requests for an action that were served from this point of the log on.
const served = (from, action) =>
  app.events().slice(from).filter((event) => event.toLowerCase().startsWith(action) && event.endsWith('request complete!')).length;

inEachBrowser((userTest) => {
  userTest('OneIsRestoredAndTwoAreDeletedFromTheSpamBox', () => app, async (user) => {
    saveSpam('a', 'b', 'c', 'd');
    await user.login();
    await user.tick('R', 'a');
    await user.tick('D', 'b');
    await user.tick('D', 'd');
    const before = app.events().length;
    await user.page.click('button[name="SUBMIT3"]');
    await user.page.waitForFunction(() => document.querySelectorAll('#boxes input[name^="D"]').length === 2);
    await user.shows('spambox');
    assert.deepEqual((await user.subjects()).sort(), ['a', 'c']);
    assert.deepEqual(Object.keys(app.spamBox()), ['a.txt', 'c.txt']);
    assert.deepEqual(user.dialogs, ['Restore 1 message.\n\nDelete 2 messages from the SpamBox for good?']);
    assert.equal(server.maildrop.messages.filter((message) => /Subject: a\r\n/.test(message.data.toString())).length, 1);
    assert.ok(app.events().slice(before).includes('Restore msg from Sam <sam@spam-a.example> to InBox'));
    await user.go('inbox');
    assert.deepEqual(await user.subjects(), ['kept-1', 'kept-2', 'a']);
  });

  userTest('OneIsDeletedFromTheInboxAndTheButtonShowsThatItIsAtWork', () => app, async (user) => {
    await user.login();
    await user.go('inbox');
    await user.tick('D', 'kept-1');
    await user.page.evaluate(() => addEventListener('pagehide', () => {
      const button = document.querySelector('button[name="SUBMIT3"]');
      sessionStorage.setItem('at work', [button.disabled, button.textContent, document.querySelector('#atwork').textContent].join());
    }));
    await user.page.mouse.click(...await user.place('button[name="SUBMIT3"]'));
    await user.page.waitForFunction(() => document.querySelectorAll('#boxes input[name^="D"]').length === 1);
    assert.deepEqual(server.maildrop.uids(), ['f2']);
    assert.equal(await user.page.evaluate(() => sessionStorage.getItem('at work')),
      'true,Deleting...,Deleting on the mail server. This takes some seconds.');
  });

  userTest('NothingIsDeletedWhenTheUserThinksBetterOfIt', () => app, async (user) => {
    saveSpam('a');
    await user.login();
    await user.tick('D', 'a');
    user.agrees = false;
    const before = app.log();
    await user.page.click('button[name="SUBMIT3"]');
    await user.said('Delete 1 message');
    assert.ok(await user.page.isEnabled('button[name="SUBMIT3"]'));
    assert.equal(app.log(), before);
    await user.page.uncheck('input[name="D0"]');
    await user.page.click('button[name="SUBMIT3"]');
    await user.said('No message is checked.');
    assert.equal(app.log(), before);
  });

  userTest('CheckAllTicksEveryBoxOfItsColumn', () => app, async (user) => {
    saveSpam('a', 'b', 'c');
    await user.login();
    await user.page.check('input.all[data-prefix="D"]');
    assert.equal(await user.page.$$eval('#boxes tbody input:checked', (boxes) => boxes.map((box) => box.name).join()), 'D0,D1,D2');
    assert.equal(await user.text('button[name="SUBMIT3"]'), 'Restore / delete checked (3)');
    await user.page.uncheck('input.all[data-prefix="D"]');
    assert.equal(await user.page.$$eval('#boxes tbody input:checked', (boxes) => boxes.length), 0);
  });

  userTest('AListThatWasShownAnewInAnotherTabIsNotWorkedOnByItsOldRows', () => app, async (user) => {
    saveSpam('a', 'b');
    await user.login();
    const first = user.page;
    const second = await user.openTab();
    await second.goto(`${user.origin}/displayspambox.htm?s=${/s=([A-Z]{64})/.exec(first.url())[1]}`);
    await second.waitForSelector('#boxes tbody input');
    user.page = first;
    await user.tick('D', 'a');
    await user.page.click('button[name="SUBMIT3"]');
    await user.said('The list was shown anew in another window');
    await user.shows('spambox');
    assert.deepEqual(Object.keys(app.spamBox()), ['a.txt', 'b.txt']);
  });

  userTest('ADoubleClickOnAnyButtonActsOnce', () => app, async (user) => {
    addSpam('late');
    saveSpam('a', 'b', 'c');
    await user.login();
    // button, page, action, what comes before, what tells that it is done
    const steps = [
      ['button:text("Add to FriendList")', 'spambox', 'add2white.cgi', () => user.page.fill('#addinput', '@new.example'),
        () => app.read('data/friendlist.txt').includes('@new.example')],
      ['button:text("Add to EnemyList")', 'spambox', 'add2black.cgi', () => user.page.fill('#addinput', '@foe.example'),
        () => app.read('data/enemylist.txt').includes('@foe.example')],
      ['button:text("Add")', 'enemylist', 'addtolist.cgi', () => user.page.fill('#addinput', '@third.example'),
        () => app.read('data/enemylist.txt').includes('@third.example')],
      ['button:text("Remove")', 'enemylist', 'deletefromlist.cgi', () => user.page.selectOption('#entries', { index: 0 }),
        () => !app.read('data/enemylist.txt').includes('@foe.example')],
      ['button:text("Search")', 'find', 'findinlists.htm', () => user.page.fill('#findinlists', 'old@'),
        () => user.page.waitForSelector('.result:has-text("- old@enemy.example")')],
      ['button:text("Update")', 'config', 'configupdate.cgi', () => {}, () => served(from, 'config.htm') > 0],
      ['button:text("Filter Mail")', 'find', 'mailfilter.cgi', () => {}, () => app.exists('spam/late.txt')],
      ['button[name="SUBMIT3"]', 'spambox', 'deleterestore.cgi', () => user.tick('D', 'b'), () => !app.exists('spam/b.txt')],
      ['button[name="SUBMIT3"]', 'inbox', 'delete.cgi', () => user.tick('D', 'kept-2'), () => server.maildrop.uids().join() === 'f1'],
    ];
    let from = 0;
    for (const [button, page, action, prepare, done] of steps) {
      await user.go(page);
      await prepare();
      from = app.events().length;
      await user.page.dblclick(button, { noWaitAfter: true });
      await until(done, `${action} done`, 20000);
      await until(() => served(from, action) > 0, `${action} served`, 20000);
      // Whatever else was asked for is answered before the next page.
      await user.page.waitForFunction(() => document.querySelector('nav') && !document.querySelector('button:disabled'));
      await user.go('friendlist');
      assert.equal(served(from, action), 1, action);
    }
    assert.deepEqual(app.read('data/enemylist.txt').split('\r\n').filter(Boolean), ['@third.example', 'old@enemy.example']);
    assert.deepEqual(Object.keys(app.spamBox()), ['a.txt', 'c.txt', 'late.txt']);
  });

  userTest('AReloadInTheMiddleOfASlowInboxFetchShowsTheInbox', () => app, async (user) => {
    await user.login();
    for (let i = 0; i < 2; i++) {
      const sessions = server.pop.sessions.length;
      const inbox = await user.place('nav a[data-for="inbox"]');
      await user.page.mouse.click(...inbox);
      await until(() => server.pop.sessions.length > sessions, 'the fetch');
      await user.page.mouse.click(...inbox);
      await user.shows('inbox');
      assert.equal(await user.showing(), '(showing 1 - 2 of 2)');
      // The page asks for itself anew, and again while the server is still being asked.
      const before = server.pop.sessions.length;
      await user.page.evaluate(() => {
        window.old = true;
        setTimeout(() => location.reload(), 0);
        setTimeout(() => location.reload(), 500);
      });
      await until(() => server.pop.sessions.length > before, 'the fetch of the reload');
      await user.page.waitForFunction(() => !window.old);
      await user.shows('inbox');
      assert.deepEqual(await user.subjects(), ['kept-1', 'kept-2']);
      await user.go('spambox');
    }
  });

  userTest('FilterMailWhileTheInboxLoadsFiltersAndShowsTheSpamBox', () => app, async (user) => {
    addSpam('caught');
    await user.login();
    const from = app.events().length;
    const sessions = server.pop.sessions.length;
    const button = await user.place('button:text("Filter Mail")');
    await user.page.mouse.click(...await user.place('nav a[data-for="inbox"]'));
    await until(() => server.pop.sessions.length > sessions, 'the fetch');
    assert.equal(served(from, 'displayinbox.htm'), 0, 'the Inbox is still on its way');
    await user.page.mouse.click(...button);
    await user.page.waitForSelector('#boxes tbody:has-text("caught")');
    await user.shows('spambox');
    assert.ok(app.events().slice(from).includes('Mail filtered:  2 msgs.  1 spam.'));
    assert.equal(served(from, 'mailfilter.cgi'), 1);
    assert.deepEqual(server.maildrop.uids(), ['f1', 'f2']);
  });

  userTest('TabsThatAskAtTheSameTimeEachGetTheirOwnAnswers', () => app, async (user) => {
    saveSpam('a');
    await user.login();
    const session = user.sessionId;
    const tabs = [user.page, await user.openTab(), await user.openTab()];
    const pages = [['displayfriendlist.htm', 'friendlist'], ['config.htm', 'config'], ['displayinbox.htm', 'inbox'],
      ['displayspambox.htm', 'spambox'], ['displayenemylist.htm', 'enemylist']];
    for (let round = 0; round < pages.length; round++) {
      await Promise.all(tabs.map(async (tab, i) => {
        const [target, name] = pages[(round + i) % pages.length];
        await tab.goto(`${user.origin}/${target}?s=${session}`);
        assert.equal((await tab.getAttribute('html', 'data-page')).toLowerCase(), name);
        assert.equal(await tab.getAttribute('nav a[aria-current]', 'data-for'), name);
      }));
    }
  });

  userTest('AFilterRunInOneTabAndAnInboxInAnother', () => app, async (user) => {
    addSpam('x1', 'x2');
    await user.login();
    const session = user.sessionId;
    const first = user.page;
    const second = await user.openTab();
    await second.goto(`${user.origin}/displayfriendlist.htm?s=${session}`);
    const inbox = await user.place('nav a[data-for="inbox"]');
    user.page = first;
    await first.mouse.click(...await user.place('button:text("Filter Mail")'));
    await second.mouse.click(...inbox);
    await first.waitForSelector('html[data-page="spambox"] #boxes tbody:has-text("x2")');
    await second.waitForSelector('html[data-page="inbox"] #boxes tbody:has-text("kept-2")');
    assert.deepEqual(Object.keys(app.spamBox()), ['x1.txt', 'x2.txt']);
  });
});
