// The strip at the top of every page: what happened, what is switched off, what is still to be done; and entries that are
// removed by their texts.

import assert from 'node:assert/strict';
import { after, before, beforeEach } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { SlowApplication } from '../support/slow_application.mjs';
import { until } from '../support/tools.mjs';

let slow;
let app;
before(async () => {
  slow = await SlowApplication.start();
  ({ app } = slow);
});
after(() => slow?.stop());
beforeEach(() => slow.reset());

const FRIENDS = 'data/friendlist.txt';

inEachBrowser((userTest) => {
  const strip = async (user, text) => {
    await user.page.waitForFunction((wanted) => document.querySelector('#strip')?.textContent.includes(wanted), text);
  };
  const remove = async (user, ...labels) => {
    await user.page.selectOption('#entries', labels.map((label) => ({ label })));
    await user.page.click('form[action^="deletefromlist"] button');
  };

  userTest('TheStripTellsWhatWasAddedAndWhatIsSwitchedOff', () => app, async (user) => {
    await user.login();
    await strip(user, 'Automatic filtering is off.');
    await user.go('friendlist');
    await user.page.fill('#addinput', 'bob@x.example');
    await user.page.click('form[action^="addtolist"] button');
    await strip(user, 'Added "bob@x.example" to the FriendList.');
    await user.picture('strip-added');
    await user.page.click('#strip button.quiet');
    await user.page.waitForFunction(() => !document.querySelector('#strip').textContent.includes('Added'));
    await user.go('friendlist');
    await strip(user, 'Automatic filtering is off.');
    assert.ok(!(await user.page.textContent('#strip')).includes('Added'), 'what was closed stays closed');
  });

  userTest('AnEntryBehindABlankLineIsRemovedAndNoOtherAndCanBePutBack', () => app, async (user) => {
    app.write(FRIENDS, 'ada@x.example\r\n\r\nbob & co 100%\r\neve@x.example\r\n');
    await user.login();
    await user.go('friendlist');
    await remove(user, 'bob & co 100%');
    await strip(user, 'Removed "bob & co 100%" from the FriendList.');
    assert.equal(app.read(FRIENDS), 'ada@x.example\r\n\r\neve@x.example\r\n');
    await user.picture('strip-removed');
    await user.page.click('#strip form button');
    await strip(user, 'Added "bob & co 100%" to the FriendList.');
    assert.equal(app.read(FRIENDS), 'ada@x.example\r\nbob & co 100%\r\neve@x.example\r\n');
  });

  userTest('SeveralEntriesAreRemovedAtOnceInAnyAlphabet', () => app, async (user) => {
    app.write(FRIENDS, 'ada@x.example\r\n&#1080;&#1074;&#1072;&#1085;\r\neve@x.example\r\n');
    await user.login();
    await user.go('friendlist');
    await user.page.selectOption('#entries', [{ label: 'иван' }, { label: 'eve@x.example' }]);
    assert.equal(await user.text('form[action^="deletefromlist"] button'), 'Remove the 2 selected entries');
    await user.page.click('form[action^="deletefromlist"] button');
    await strip(user, 'Removed 2 entries from the FriendList.');
    assert.equal(app.read(FRIENDS), 'ada@x.example\r\n');
  });

  userTest('AnEntryThatAnotherTabHasRemovedTakesNoOtherWithIt', () => app, async (user) => {
    app.write(FRIENDS, 'ada@x.example\r\nbob@x.example\r\neve@x.example\r\n');
    await user.login();
    await user.go('friendlist');
    app.write(FRIENDS, 'bob@x.example\r\neve@x.example\r\n');
    await remove(user, 'ada@x.example');
    await strip(user, 'Not in the FriendList any more: "ada@x.example".');
    assert.equal(app.read(FRIENDS), 'bob@x.example\r\neve@x.example\r\n');
  });

  userTest('WhatCameOfSavingIsInSightWhereverTheButtonWasPressed', () => app, async (user) => {
    await user.login();
    await user.go('config');
    await user.page.focus('#HTTP_PORT_CFG');  // the last field of the page
    await user.page.click('.save button');
    await strip(user, 'Saved.');
    await user.page.waitForFunction(() => document.activeElement.closest('.save'));
    const [top, bottom, height] = await user.page.evaluate(() => {
      const line = document.querySelector('#strip .good, #strip .bad').getBoundingClientRect();
      return [line.top, line.bottom, innerHeight];
    });
    assert.ok(top >= 0 && bottom <= height, `${top} to ${bottom} of ${height}`);
  }, { viewport: { width: 1024, height: 640 } });

  userTest('WhatCameOfAClickFarDownIsSeenThere', () => app, async (user) => {
    slow.saveSpam(...Array.from({ length: 15 }, (_, n) => `below-${n}`));
    await user.login();
    assert.equal(await user.page.textContent('#below'), '', 'the strip itself is in sight');
    const last = user.page.locator('#boxes tbody tr').last();
    await last.scrollIntoViewIfNeeded();
    await last.locator('button:text-is("Enemy")').click();
    await user.page.waitForFunction(() => document.querySelector('#below').textContent.startsWith('Added "'));
    const [top, bottom, height] = await user.page.evaluate(() => {
      const line = document.querySelector('#below').getBoundingClientRect();
      return [line.top, line.bottom, innerHeight];
    });
    assert.ok(top > 0 && bottom <= height, `${top} to ${bottom} of ${height}`);
    await user.picture('strip-below');
    await user.page.keyboard.press('Tab');
    await user.page.waitForFunction(() => document.querySelector('#below').textContent === '');
  }, { viewport: { width: 1024, height: 480 } });

  userTest('TheStripTellsWhatCameOfAFilterRun', () => app, async (user) => {
    const names = Array.from({ length: 40 }, (_, n) => `spam-${n}`);
    slow.addSpam(...names);
    await user.login();
    await user.page.click('form[action^="mailfilter"] button');
    await strip(user, 'Filtered: 2 messages stay in your mailbox, 40 messages lie in the SpamBox.');
  });

  userTest('WhileAFilterRunLastsTheStripCountsItsMessages', () => app, async (user) => {
    slow.addSpam(...Array.from({ length: 20 }, (_, n) => `slow-${n}`));
    await user.login();
    slow.server.pop.options.late = 60;  // milliseconds before each answer: some seconds for the whole run
    try {
      // The page itself notes what it shows: nothing can be asked of one that is on its way to the next.
      await user.page.evaluate(() => {
        sessionStorage.setItem('counted', '');
        setInterval(() => {
          const text = document.querySelector('#strip .working')?.textContent;
          if (text) sessionStorage.setItem('counted', `${sessionStorage.getItem('counted')}${text}\n`);
        }, 100);
      });
      const from = app.events().length;
      await user.page.mouse.click(...await user.place('form[action^="mailfilter"] button'));
      await until(() => slow.served(from, 'mailfilter.cgi') > 0, 'the end of the run', 60000);
      await strip(user, 'Filtered: 2 messages stay in your mailbox, 20 messages lie in the SpamBox.');
      const counted = await user.page.evaluate(() => sessionStorage.getItem('counted'));
      const numbers = [...counted.matchAll(/^Filtering: (\d+) of 22\.\.\.$/gm)].map(([, number]) => Number(number));
      assert.ok(new Set(numbers).size >= 2, counted);
      assert.deepEqual(numbers, [...numbers].sort((one, other) => one - other));
    } finally {
      slow.server.pop.options.late = 0;
    }
  });
});
