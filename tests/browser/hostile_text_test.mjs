// What strangers write into subjects, senders and keys, and what stands in lists and searches, is text in a browser:
// each of these did something else once.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import { after, before, beforeEach } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { mail } from '../support/mails.mjs';
import { until } from '../support/tools.mjs';

let app;
let server;
before(async () => {
  server = await MailServer.start();
  app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}`, NEW_WINDOW: 'FALSE', MESSAGES_PER_PAGE: '50' } });
});
after(async () => {
  await app?.stop();
  await server?.stop();
});
beforeEach(() => {
  for (const name of Object.keys(app.spamBox())) app.remove(`spam/${name}`);
});

// Spam of that subject: a file with that key. The last one saved stands first.
let saved = 0;
function save(key, subject, from = 'Eve <eve@evil.example>') {
  app.write(`spam/${key}.txt`, mail({ from, subject }).toString('latin1'));
  fs.utimesSync(app.path(`spam/${key}.txt`), 1700000000 + ++saved, 1700000000 + saved);
}

const shown = (text) => text.slice(0, 35);

// Every row stands in its place, whole and in sight: its subject as text, its own boxes, its own message behind the link.
async function assertRowsAre(user, keys, subjects) {
  const rows = await user.page.$$eval('#boxes tbody tr', (all) => all.map((row) => ({
    cells: row.cells.length,
    subject: row.cells[2]?.textContent.trim(),
    visible: !!row.cells[2]?.innerText.trim(),
    link: row.cells[2]?.querySelector('a')?.getAttribute('href'),
    boxes: Array.from(row.querySelectorAll('input'), (box) => box.name).join(),
    inside: Array.from(row.querySelectorAll('*:not(.lists, .lists *)'), (element) => element.localName).join(),
  })));
  assert.deepEqual(rows.map((row) => row.subject), subjects.map(shown).map((text) => text.trim()));
  rows.forEach((row, i) => {
    assert.equal(row.cells, 6);
    assert.ok(row.visible, subjects[i]);
    assert.equal(row.link, `preview.htm?b=spam&k=${keys[i]}&s=${user.sessionId}`);
    assert.equal(row.boxes, `R${i},D${i}`);
    assert.equal(row.inside, 'td,a,td,td,a,td,td,input,td,input');
  });
}

async function showRows(user, subjects) {
  subjects.forEach((subject, i) => save(`k${i}`, subject));
  await user.login();
  const keys = subjects.map((_, i) => `k${i}`).reverse();
  await assertRowsAre(user, keys, [...subjects].reverse());
  return keys;
}

inEachBrowser((userTest) => {
  userTest('AClickOnASubjectOpensItsMessageAndNothingElse', () => app, async (user) => {
    const links = ['<a href=//127.11>Your parcel', '<a href=logout.cgi>Your parcel', '<a href=unloadme>Your parcel',
      '<svg><a href=unloadme><text y=9>Hi'];
    await showRows(user, links);
    const session = user.sessionId;
    for (let i = 0; i < links.length; i++) {
      await user.page.click(`#boxes tbody tr:nth-child(${links.length - i}) td.subject a`);
      await user.page.waitForFunction(() => !document.querySelector('#boxes'));
      assert.ok((await user.text()).includes(links[i]), 'the message itself');
      await user.open(`/displayspambox.htm?s=${session}`);
      await user.shows('spambox');
    }
    assert.ok(!app.events().some((event) => event === 'Logout'));
    assert.equal(app.process.ended, null);
  });

  userTest('ASubjectGetsNoSessionId', () => app, async (user) => {
    await showRows(user, ['<a href=//127.11/?<!--SSSESSION-->>x', '<!--SSSESSION-->', '<head></title>']);
    assert.ok(!(await user.text('#boxes tbody')).includes(user.sessionId));
    assert.equal(await user.page.$$eval('meta[http-equiv="refresh"]', (all) => all.length), 1);
  });

  userTest('AListEntryIsTextAndGetsNoSessionId', () => app, async (user) => {
    const entries = ['<!--SSSESSION-->', '</select><h1>Log in</h1>', '</option><option value=9>x', '&lt;b&gt;', '&#1087;'];
    app.write('data/subjectlist.txt', entries.map((entry) => `${entry}\r\n`).join(''));
    await user.login();
    await user.go('subjectlist');
    assert.deepEqual(await user.page.$$eval('#entries option', (all) => all.map((option) => [option.value, option.textContent])),
      entries.map((entry, i) => [String(i), entry === '&#1087;' ? 'п' : entry]));
    assert.ok(!(await user.page.textContent('#entries')).includes(user.sessionId));
    app.write('data/subjectlist.txt', '');
  });

  userTest('ASearchTextAndWhatItFindsAreText', () => app, async (user) => {
    app.write('data/enemylist.txt', '</section><a href=unloadme>free</a>\r\n');
    await user.login();
    await user.go('find');
    await user.page.fill('#findinlists', '</section><a href=unloadme>free');
    await user.page.keyboard.press('Enter');
    await user.page.waitForSelector('.result:has-text("EnemyList Matches")');
    const text = await user.page.textContent('.result');
    assert.ok(text.includes('Last search: </section><a href=unloadme>free'), text);
    assert.ok(text.includes('- </section><a href=unloadme>free</a>'), text);
    assert.equal(await user.page.$$eval('.result a', (all) => all.length), 0);
    app.write('data/enemylist.txt', '');
  });

  for (const [what, subject] of [
    ['AnAttributeLeftOpen', "<b title='"], ['ATagLeftOpen', '<a href=//127.11 title='], ['AnEndOfTheTable', '</table></form>'],
    ['ACell', '<td><td>'], ['AStyle', '<style>*{display:none}</style>'], ['AStyleLeftOpen', '<style>'], ['ATitle', '<title>'],
    ['PlainText', '<plaintext>'], ['ACommentLeftOpen', '<!--'], ['AHiddenBody', '<body hidden>'], ['ATextArea', '<textarea>'],
    ['AFrameset', '<frameset><noframes>'], ['ASelect', '<select><option>'], ['ACover', '<p style=position:fixed;inset:0>'],
  ]) {
    userTest(`${what}InASubjectHidesAndMixesNoRow`, () => app, async (user) => {
      const keys = await showRows(user, ['one', subject, 'two', subject, 'three']);
      // A box stands for its own message.
      await user.tick('D', 'two');
      await user.page.click('button[name="SUBMIT3"]');
      await until(() => !app.exists('spam/k2.txt'), 'the deletion');
      await user.page.waitForFunction(() => document.querySelectorAll('#boxes input[name^="D"]').length === 4);
      assert.deepEqual(Object.keys(app.spamBox()), keys.filter((key) => key !== 'k2').map((key) => `${key}.txt`).sort());
      // The navigation leads where it says.
      await user.go('friendlist');
    });
  }

  userTest('NamesInASubjectTakeNoQuestionAway', () => app, async (user) => {
    const names = ['elements', 'id', 'dataset', 'querySelector', 'getAttribute', 'addEventListener', 'submit'];
    const subjects = [...names.map((name) => `<img name=${name}>`), ...names.map((name) => `<input name=${name} form=boxes>`),
      '</form><form action=unloadme>', '<img id=boxes>', '<form id=boxes>', '<img name=getElementById>'];
    await showRows(user, subjects);
    user.agrees = false;
    await user.page.click('button[name="SUBMIT3"]');
    await user.said('No message is checked.');
    await user.page.check('input[name="D0"]');
    await user.page.click('button[name="SUBMIT3"]');
    await user.said('Delete 1 message from the SpamBox for good?');
    assert.equal(Object.keys(app.spamBox()).length, subjects.length);
    user.agrees = true;
    await user.page.click('button[name="SUBMIT3"]');
    await until(() => Object.keys(app.spamBox()).length === subjects.length - 1, 'the deletion');
    await user.page.waitForFunction((count) => document.querySelectorAll('#boxes input[name^="D"]').length === count, subjects.length - 1);
  });

  userTest('ANoticeInTheStyleOfThePagesIsOnlyItsText', () => app, async (user) => {
    await showRows(user, ['<p id=atwork>Log in', '<a id=atwork href=//127.11>Log in']);
    assert.equal(await user.page.$$eval('#atwork', (all) => all.length), 1);
    assert.equal(await user.text('#atwork').catch(() => ''), '');
  });

  userTest('ASenderIsTextAndGoesIntoTheFieldAsItIs', () => app, async (user) => {
    const senders = ["x';alert(1);' <eve@evil.example>", '<svg onload=alert(1)> <eve@evil.example>', '&lt;b&gt; <eve@evil.example>',
      '&#1087;&#1088; <eve@evil.example>'];
    senders.forEach((from, i) => save(`s${i}`, `letter ${i}`, from));
    await user.login();
    const fields = [];
    for (let i = 0; i < senders.length; i++) {
      const link = user.page.locator(`#boxes tr:has(td.subject a:text-is("letter ${i}")) td.from a`);
      await link.click();
      assert.equal(await user.page.inputValue('#addinput'), 'eve@evil.example');
      await user.page.click('.shorter button >> nth=0');
      fields.push(await user.page.inputValue('#addinput'));
      assert.equal(await link.locator('*').count(), 0);
    }
    assert.deepEqual(fields, ["x';alert(1);' <eve@evil.example>", '<svg onload=alert(1)> <eve@evil.example>',
      '&lt;b&gt; <eve@evil.example>', 'пр <eve@evil.example>']);
    // The buttons of the rows hold what the page has made, and act on the address.
    assert.deepEqual(await user.page.$$eval('#boxes .lists', (all) => [...new Set(all.map((one) => one.innerHTML.replace(/ (title|aria-label|type|class|data-list)="[^"<>]*"/g, '')))]),
      ['<button>Friend</button><button>Enemy</button>']);
    assert.deepEqual(user.dialogs, []);
  });

  userTest('AKeyOfTheServerStaysInItsAddress', () => app, async (user) => {
    const uids = ["a'><img/src=x", 'b"onmouseover="x', 'c&s=d', 'e#f', '<!--SSSESSION-->'];
    server.maildrop.messages = [];
    uids.forEach((uid, i) => server.maildrop.add({ uid, data: mail({ subject: `letter ${i}`, body: `text ${i}\r\n` }) }));
    await user.login();
    const session = user.sessionId;
    for (let i = 0; i < uids.length; i++) {
      await user.open(`/displayinbox.htm?s=${session}`);
      await user.shows('inbox');
      assert.equal(await user.page.$$eval('#boxes tbody *', (all) => all.filter((one) => !/^(tr|td|a|input|span|button)$/.test(one.localName)).length), 0);
      await user.page.click(`#boxes td.subject a:text-is("letter ${i}")`);
      await user.page.waitForFunction(() => !document.querySelector('#boxes'));
      await user.page.frameLocator('iframe').locator(`text=text ${i}`).waitFor();
    }
  });
});
