// Impatient people: double clicks, reloads, several tabs at once, and everything while something else is under way.

import assert from 'node:assert/strict';
import { after, before, beforeEach } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { SlowApplication } from '../support/slow_application.mjs';
import { until } from '../support/tools.mjs';

let slow;
let app;
let server;
before(async () => {
  slow = await SlowApplication.start();
  ({ app, server } = slow);
});
after(() => slow?.stop());
beforeEach(() => slow.reset());

inEachBrowser((userTest) => {
  userTest('ADoubleClickOnAnyButtonActsOnce', () => app, async (user) => {
    slow.addSpam('late');
    slow.saveSpam('a', 'b', 'c');
    await user.login();
    // button, page, action, what comes before, what tells that it is done
    const steps = [
      ['button:text("Add to FriendList")', 'spambox', 'addtolist.cgi', () => user.page.fill('#addinput', '@new.example'),
        () => app.read('data/friendlist.txt').includes('@new.example')],
      ['button:text("Add to EnemyList")', 'spambox', 'addtolist.cgi', () => user.page.fill('#addinput', '@foe.example'),
        () => app.read('data/enemylist.txt').includes('@foe.example')],
      ['button:text("Add")', 'enemylist', 'addtolist.cgi', () => user.page.fill('#addinput', '@third.example'),
        () => app.read('data/enemylist.txt').includes('@third.example')],
      ['button:text("Remove")', 'enemylist', 'deletefromlist.cgi', () => user.page.selectOption('#entries', { index: 0 }),
        () => !app.read('data/enemylist.txt').includes('@foe.example')],
      ['button:text("Search")', 'find', 'findinlists.htm', () => user.page.fill('#findinlists', 'old@'),
        () => user.page.waitForSelector('.result:has-text("- old@enemy.example")')],
      ['button:text("Update")', 'config', 'configupdate.cgi', () => {}, () => slow.served(from, 'config.htm') > 0],
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
      await until(() => slow.served(from, action) > 0, `${action} served`, 20000);
      // Whatever else was asked for is answered before the next page.
      await user.page.waitForFunction(() => document.querySelector('nav') && !document.querySelector('button:disabled'));
      await user.go('friendlist');
      assert.equal(slow.served(from, action), 1, action);
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
    slow.addSpam('caught');
    await user.login();
    const from = app.events().length;
    const sessions = server.pop.sessions.length;
    const button = await user.place('button:text("Filter Mail")');
    await user.page.mouse.click(...await user.place('nav a[data-for="inbox"]'));
    await until(() => server.pop.sessions.length > sessions, 'the fetch');
    assert.equal(slow.served(from, 'displayinbox.htm'), 0, 'the Inbox is still on its way');
    await user.page.mouse.click(...button);
    await user.page.waitForSelector('#boxes tbody:has-text("caught")');
    await user.shows('spambox');
    assert.ok(app.events().slice(from).includes('Mail filtered:  2 msgs.  1 spam.'));
    assert.equal(slow.served(from, 'mailfilter.cgi'), 1);
    assert.deepEqual(server.maildrop.uids(), ['f1', 'f2']);
  });

  userTest('TabsThatAskAtTheSameTimeEachGetTheirOwnAnswers', () => app, async (user) => {
    slow.saveSpam('a');
    await user.login();
    const session = user.sessionId;
    const tabs = [user.page, await user.openTab(), await user.openTab()];
    const pages = [['displayfriendlist.htm', 'friendlist'], ['config.htm', 'config'], ['displayinbox.htm', 'inbox'],
      ['displayspambox.htm', 'spambox'], ['displayenemylist.htm', 'enemylist']];
    for (let round = 0; round < pages.length; round++) {
      await Promise.all(tabs.map(async (tab, i) => {
        const [target, name] = pages[(round + i) % pages.length];
        await tab.goto(`${user.origin}/${target}?s=${session}`);
        // A page that waits for the mailbox shows how far it is, and turns into the wanted one.
        await tab.waitForFunction(() => document.documentElement.dataset.page !== 'progress');
        await tab.waitForSelector('nav a[aria-current]');
        assert.equal((await tab.getAttribute('html', 'data-page')).toLowerCase(), name);
        assert.equal(await tab.getAttribute('nav a[aria-current]', 'data-for'), name);
      }));
    }
  });

  userTest('AFilterRunInOneTabAndAnInboxInAnother', () => app, async (user) => {
    slow.addSpam('x1', 'x2');
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
