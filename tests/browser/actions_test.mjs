// What changes something: deleting, restoring, ticking boxes, and the way back from an error.

import assert from 'node:assert/strict';
import { after, before, beforeEach } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { SlowApplication } from '../support/slow_application.mjs';

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
  userTest('OneIsRestoredAndTwoAreDeletedFromTheSpamBox', () => app, async (user) => {
    slow.saveSpam('a', 'b', 'c', 'd');
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
    slow.saveSpam('a');
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
    slow.saveSpam('a', 'b', 'c');
    await user.login();
    await user.page.check('input.all[data-prefix="D"]');
    assert.equal(await user.page.$$eval('#boxes tbody input:checked', (boxes) => boxes.map((box) => box.name).join()), 'D0,D1,D2');
    assert.equal(await user.text('button[name="SUBMIT3"]'), 'Delete 3');
    await user.page.uncheck('input.all[data-prefix="D"]');
    assert.equal(await user.page.$$eval('#boxes tbody input:checked', (boxes) => boxes.length), 0);
  });

  userTest('AListThatWasShownAnewInAnotherTabIsNotWorkedOnByItsOldRows', () => app, async (user) => {
    slow.saveSpam('a', 'b');
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

  userTest('TheErrorPageOfAMessageThatIsGoneLeadsBack', () => app, async (user) => {
    await user.login();
    await user.go('inbox');
    server.maildrop.messages.pop();
    await user.page.click('#boxes a:text-is("kept-2")');
    await user.page.waitForSelector('h1:text-is("Requested email does not exist!")');
    await user.page.click('text=Go Back');
    await user.shows('inbox');
    assert.deepEqual(await user.subjects(), ['kept-1']);
  });
});
