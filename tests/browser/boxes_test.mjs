// Long lists: ways through the pages, the filter, ranges of ticks, keys, and what is cut.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import { after, before, beforeEach } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { friendly, mail } from '../support/mails.mjs';
import { until } from '../support/tools.mjs';

const PER_PAGE = 10;
const LONG = 'a subject that is a good deal longer than what a row of the list shows';

let app;
let server;
before(async () => {
  server = await MailServer.start();
  app = await Application.start({ settings: {
    POP_SERVER: `127.0.0.1:${server.popPort}`, NEW_WINDOW: 'FALSE', MESSAGES_PER_PAGE: String(PER_PAGE), MAX_LINK_SIZE_ON: 'TRUE', MAX_LINK_SIZE: '30',
  } });
});
after(async () => {
  await app?.stop();
  await server?.stop();
});

// 33 messages in the mailbox, "letter 0" the oldest; 25 in the SpamBox, "offer 0" on top.
beforeEach(() => {
  server.maildrop.messages = [];
  for (let i = 0; i < 33; i++) server.maildrop.add({ uid: `in${i}`, data: friendly(`letter ${i}`) });
  for (const name of Object.keys(app.spamBox())) app.remove(`spam/${name}`);
  for (let i = 0; i < 25; i++) save(i, { from: `Sam <sam@${i % 3 ? 'odd' : 'third'}.example>`, subject: `offer ${i}` });
});
function save(i, options) {
  app.write(`spam/s${i}.txt`, mail(options).toString('latin1'));
  fs.utimesSync(app.path(`spam/s${i}.txt`), 1700000000 - i, 1700000000 - i);
}

const offers = (...numbers) => numbers.map((i) => `offer ${i}`);
const letters = (from, to) => Array.from({ length: Math.abs(to - from) + 1 }, (_, i) => `letter ${from < to ? from + i : from - i}`);

inEachBrowser((userTest) => {
  const ticked = (user) => user.page.$$eval('#boxes tbody input:checked', (boxes) => boxes.map((box) => box.name).join());
  const shown = (user) => user.page.$$eval('#boxes tbody tr', (rows) => rows.filter((row) => !row.hidden).map((row) => row.cells[2].textContent.trim()));
  const follow = async (user, words, showing) => {
    await user.page.click(`h1 a:has-text("${words}")`);
    await user.page.waitForFunction((wanted) => document.querySelector('h1')?.textContent.includes(wanted), showing);
    await user.page.waitForSelector('nav a[aria-current="page"]');
  };
  const focused = (user) => user.page.evaluate(() => {
    const active = document.activeElement;
    return active.name || active.id || active.textContent.trim();
  });

  userTest('FirstLastAndAJumpLeadToTheirPages', () => app, async (user) => {
    await user.login();
    await follow(user, 'Last', '(showing 21 - 25 of 25)');
    assert.deepEqual(await user.subjects(), offers(20, 21, 22, 23, 24));
    assert.equal(await user.page.locator('h1 a:has-text("Last")').count(), 0);
    await follow(user, 'First', '(showing 1 - 10 of 25)');
    assert.deepEqual(await user.page.$$eval('#jump option', (all) => all.map((one) => one.textContent)), ['1 - 10', '11 - 20', '21 - 25']);
    await user.page.selectOption('#jump', { label: '11 - 20' });
    await user.page.click('.jump button');
    await user.page.waitForURL(/msg=10$/);
    await user.shows('spambox');
    assert.equal(await user.showing(), '(showing 11 - 20 of 25)');
    assert.equal(await user.page.inputValue('#jump'), '10');
    // Who has read a message gets back to where it stands.
    await user.page.click('#boxes td.subject a >> nth=9');
    await user.page.waitForSelector('main.preview');
    await user.page.click('.around a:text("SpamBox")');
    await user.shows('spambox');
    assert.equal(await user.showing(), '(showing 11 - 20 of 25)');
  });

  userTest('TheInboxIsShownNewestFirstWhereThatIsChosen', () => app, async (user) => {
    await user.login();
    await user.go('inbox');
    assert.deepEqual(await user.subjects(), letters(0, 9));
    const sessions = server.pop.sessions.length;
    await user.page.click('#newest');
    await user.page.waitForURL(/msg=23$/);
    await user.shows('inbox');
    assert.deepEqual(await user.subjects(), letters(32, 23));
    assert.equal(await user.page.getAttribute('#newest', 'aria-pressed'), 'true');
    assert.equal(await user.page.locator('h1 a:has-text("Prev")').count(), 0);
    await follow(user, 'Next', '(showing 14 - 23 of 33)');
    assert.deepEqual(await user.subjects(), letters(22, 13));
    await follow(user, 'Last', '(showing 1 - 10 of 33)');
    assert.deepEqual(await user.subjects(), letters(9, 0));
    await follow(user, 'Prev', '(showing 11 - 20 of 33)');
    await follow(user, 'First', '(showing 24 - 33 of 33)');
    assert.deepEqual(await user.page.$$eval('#jump option', (all) => all.map((one) => one.textContent)),
      ['24 - 33', '14 - 23', '4 - 13', '1 - 10']);
    await user.page.selectOption('#jump', { label: '4 - 13' });
    await user.page.click('.jump button');
    await user.page.waitForURL(/msg=3$/);
    await user.shows('inbox');
    assert.deepEqual(await user.subjects(), letters(12, 3));
    assert.equal(await user.page.inputValue('#jump'), '3');
    await follow(user, 'First', '(showing 24 - 33 of 33)');
    assert.equal(server.pop.sessions.length, sessions, 'the held listing is enough');
    // A box stands for its own message, and the list that comes fresh begins with the newest too.
    await user.tick('D', 'letter 31');
    await user.page.click('button[name="SUBMIT3"]');
    await until(() => server.maildrop.messages.length === 32, 'the deletion');
    assert.ok(!server.maildrop.uids().includes('in31'));
    await user.page.waitForFunction(() => document.querySelector('h1')?.textContent.includes('(showing 23 - 32 of 32)'));
    await user.shows('inbox');
    assert.deepEqual((await user.subjects()).slice(0, 3), ['letter 32', 'letter 30', 'letter 29']);
    await user.page.click('#newest');
    await user.page.waitForURL(/msg=0$/);
    await user.shows('inbox');
    assert.deepEqual(await user.subjects(), letters(0, 9));
  });

  userTest('TheFilterShowsRowsBySenderAndSubjectAndTellsOfTicksThatItHides', () => app, async (user) => {
    save(4, { from: 'A name so long that it is cut, somewhere <sam@far.away.example>', subject: 'offer 4' });
    await user.login();
    await user.page.fill('#filter', 'THIRD.ex');
    assert.deepEqual(await shown(user), offers(0, 3, 6, 9));
    assert.equal(await user.text('#shown'), '4 of the 10 rows of this page shown.');
    await user.page.fill('#filter', 'far.away');
    assert.deepEqual(await shown(user), offers(4), 'what is cut counts');
    await user.page.fill('#filter', 'offer 7');
    await user.tick('D', 'offer 7');
    await user.page.fill('#filter', 'offer 8');
    assert.equal(await user.text('#shown'), '1 of the 10 rows of this page shown. 1 row that is not shown is ticked.');
    await user.page.check('.all[data-prefix="D"]');
    assert.equal(await ticked(user), 'D7,D8', 'all is what is shown');
    user.agrees = false;
    await user.page.click('button[name="SUBMIT3"]');
    await user.said('1 tick stands in rows that the filter does not show.');
    await user.page.click('#untick');
    assert.equal(await ticked(user), 'D8');
    assert.ok(!await user.page.isVisible('#untick'));
    await user.page.focus('#filter');
    await user.page.keyboard.press('Escape');
    assert.equal((await shown(user)).length, 10);
    assert.equal(await user.page.textContent('#shown'), '');
  });

  userTest('ShiftAndAClickTickEverythingInBetween', () => app, async (user) => {
    await user.login();
    await user.page.click('input[name="D2"]');
    await user.page.click('input[name="D5"]', { modifiers: ['Shift'] });
    assert.equal(await ticked(user), 'D2,D3,D4,D5');
    // The cell around a box counts as the box, and each column for itself.
    await user.page.click('#boxes tr:nth-child(8) td.restore', { position: { x: 4, y: 4 } });
    await user.page.click('#boxes tr:nth-child(10) td.restore', { position: { x: 4, y: 4 }, modifiers: ['Shift'] });
    assert.equal(await ticked(user), 'D2,D3,D4,D5,R7,R8,R9');
    await user.page.click('input[name="D3"]', { modifiers: ['Shift'] });
    assert.equal(await ticked(user), 'D2,R7,R8,R9', 'taking ticks away goes the same way');
    assert.equal(await user.page.evaluate(() => String(document.getSelection())), '');
    // What the filter hides is left alone.
    await user.page.fill('#filter', 'third');
    await user.page.click('input[name="D0"]');
    await user.page.click('input[name="D9"]', { modifiers: ['Shift'] });
    assert.equal(await ticked(user), 'D0,D2,D3,D6,R7,R8,R9,D9');
  });

  userTest('TheHeadOfTheTableSticksBelowTheTools', () => app, async (user) => {
    await user.login();
    await user.page.evaluate(() => {
      document.querySelector('main').style.paddingBottom = '100vh';
      scrollTo(0, document.querySelector('#boxes tbody tr:nth-child(4)').offsetTop + document.querySelector('#boxes table').offsetTop);
    });
    const [tools, head, row] = await user.page.evaluate(() => ['.tools', '#boxes thead th.delete', '#boxes tbody tr'].map((selector) => {
      const box = document.querySelector(selector).getBoundingClientRect();
      return { top: box.top, bottom: box.bottom };
    }));
    assert.equal(Math.round(tools.top), 0);
    assert.ok(Math.abs(head.top - tools.bottom) <= 2, `head at ${head.top} below tools to ${tools.bottom}`);
    assert.ok(row.top < head.top, 'the rows have gone on');
    assert.equal(await user.page.evaluate(() => {
      const box = document.querySelector('#boxes thead th.delete').getBoundingClientRect();
      return !!document.elementFromPoint(box.left + 8, box.top + 8).closest('thead');
    }), true, 'rows pass behind it');
    await user.picture('sticky-head');
  }, { viewport: { width: 1280, height: 600 } });

  userTest('EachBoxTellsWhatItDoesWhereThereIsNoColumnHead', () => app, async (user) => {
    await user.login();
    for (const column of ['restore', 'delete']) {
      const [label, width, needed] = await user.page.$eval(`#boxes tbody td.${column}`, (cell) =>
        [getComputedStyle(cell, '::before').content, cell.clientWidth, cell.scrollWidth]);
      assert.equal(label, column === 'restore' ? '"Restore"' : '"Delete"');
      assert.ok(needed <= width, `${column}: ${needed} in ${width}`);
    }
    await user.picture('narrow-labels');
  }, { viewport: { width: 390, height: 844 } });

  userTest('ACutTextIsShownWholeUnderTheMouseAndUnderTheFocus', () => app, async (user) => {
    save(0, { from: '"help@bank.example" <eve@evil.example>', subject: LONG });
    save(1, { from: '"<b>x</b> and quite a name besides" <sam@x.example>', subject: `${LONG}, without a link`, body: 'x'.repeat(60000) });
    await user.login();
    const link = '#boxes tr:first-child td.subject a';
    assert.equal((await user.page.textContent(link)).length, 35);
    assert.equal(await user.page.$eval(link, (one) => getComputedStyle(one, '::after').content), '"\u2026"');
    assert.equal(await user.page.$eval('#boxes tr:nth-child(3) td.subject a', (one) => getComputedStyle(one, '::after').content), 'none');
    assert.equal(await user.text('#boxes tr:first-child .real'), 'from eve@evil.example');
    assert.equal(await user.page.locator('.real').count(), 1);
    await user.page.hover(link);
    await user.page.waitForSelector('#whole:visible');
    assert.equal(await user.text('#whole'), LONG);
    await user.picture('whole-text');
    // It can be pointed at, and goes with Escape.
    await user.page.hover('#whole');
    await user.page.waitForTimeout(400);
    assert.ok(await user.page.isVisible('#whole'));
    await user.page.keyboard.press('Escape');
    assert.ok(!await user.page.isVisible('#whole'));
    await user.page.mouse.move(2, 2);
    // By the keyboard, a text without a link too.
    await user.page.focus('#addinput');
    await user.page.focus('#boxes tr:nth-child(2) td.from a');
    await user.page.waitForSelector('#whole:visible');
    assert.equal(await user.text('#whole'), '<b>x</b> and quite a name besides <sam@x.example>');
    await user.page.focus('#boxes tr:nth-child(2) td.subject span');
    assert.equal(await user.text('#whole'), `${LONG}, without a link`);
    assert.equal(await user.page.getAttribute('#boxes tr:nth-child(2) td.subject span', 'aria-describedby'), 'whole');
    await user.page.focus('#filter');
    assert.ok(!await user.page.isVisible('#whole'));
    assert.equal(await user.page.locator('[aria-describedby="whole"]').count(), 0);
  });

  userTest('KeysWalkTickAndOpenAsInMailReaders', () => app, async (user) => {
    await user.login();
    const press = async (...keys) => { for (const key of keys) await user.page.keyboard.press(key); };
    await press('j');
    assert.equal(await focused(user), 'offer 0');
    await press('j', 'j', 'k');
    assert.equal(await focused(user), 'offer 1');
    await press('d');
    assert.equal(await ticked(user), 'D1');
    await press('j', 'j', 'Shift+D');
    assert.equal(await ticked(user), 'D1,D2,D3');
    await press('x', 'j', 'r', 'j', 'x');
    assert.equal(await ticked(user), 'D1,D2,R4,D5');
    // In the column of a box the walk stays in it.
    await user.page.focus('input[name="R6"]');
    await press('j');
    assert.equal(await focused(user), 'R7');
    // Not while something is typed.
    await press('/');
    assert.equal(await focused(user), 'filter');
    await user.page.keyboard.type('jkxrd?n');
    assert.equal(await user.page.inputValue('#filter'), 'jkxrd?n');
    assert.equal(await ticked(user), 'D1,D2,R4,D5');
    assert.equal(await user.page.locator('dialog[open]').count(), 0);
    await press('Escape');
    await press('Tab');
    await press('b');
    assert.equal(await focused(user), 'SUBMIT3');
    await press('n');
    await user.page.waitForURL(/msg=10$/);
    await user.shows('spambox');
    await press('p');
    await user.page.waitForURL(/msg=0$/);
    await user.shows('spambox');
    // Into the reader, on, and back to the row that was read.
    await user.page.focus('#boxes tr:nth-child(2) td.subject a');
    await press('o');
    await user.page.waitForSelector('h1 bdi:text-is("offer 1")');
    await user.page.waitForFunction(() => document.querySelector('#keys'));
    await press('j');
    await user.page.waitForSelector('h1 bdi:text-is("offer 2")');
    await user.page.waitForFunction(() => document.querySelector('#keys'));
    await press('u');
    await user.page.waitForSelector('#boxes');
    await user.shows('spambox');
    assert.equal(await focused(user), 'offer 2');
  });

  userTest('KeysAreShownByAQuestionMarkAndCanBeSwitchedOff', () => app, async (user) => {
    await user.login();
    await user.page.keyboard.press('Shift+?');
    await user.page.waitForSelector('dialog[open]');
    await user.picture('keys');
    assert.match(await user.text('dialog'), /j\s+next row/);
    await user.page.keyboard.press('j');
    assert.equal(await user.page.evaluate(() => !!document.activeElement.closest('#boxes')), false);
    await user.page.uncheck('#keys-on');
    await user.page.click('dialog button');
    await user.page.keyboard.press('j');
    await user.page.keyboard.press('Shift+?');
    assert.equal(await user.page.locator('dialog[open]').count(), 0);
    assert.equal(await user.page.evaluate(() => !!document.activeElement.closest('#boxes')), false);
    // The button shows them still, and switches them on again, on every page.
    await user.go('inbox');
    await user.page.click('#keys');
    assert.ok(!await user.page.isChecked('#keys-on'));
    await user.page.check('#keys-on');
    await user.page.keyboard.press('Escape');
    await user.page.keyboard.press('j');
    assert.equal(await focused(user), 'letter 0');
  });
}, { own: true });
