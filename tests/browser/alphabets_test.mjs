// Mail of the whole world: people read its letters on every page, put senders and subjects on lists from a row and from
// the keyboard, find them and take them off again.

import assert from 'node:assert/strict';
import { after, before } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { until } from '../support/tools.mjs';

const b64 = (text, charset = 'utf-8') => `=?${charset}?B?${Buffer.from(text).toString('base64')}?=`;

// [sender's name, subject, what the header says in place of these two]
const MAILS = [
  ['Σοφία Παπαδοπούλου', 'Καλημέρα σας'],
  ['Иван Петров', 'Привет из Москвы', '=?koi8-r?B?6dfBziDwxdTSz9c=?=', '=?koi8-r?B?8NLJ18XUIMnaIO3P08vX2Q==?='],
  ['王小明', '你好，世界', '=?gb2312?B?zfXQocP3?=', '=?big5?B?p0GmbqFBpUCsyQ==?='],
  ['山田太郎', 'こんにちは', '=?iso-2022-jp?B?GyRCOzNFREJATzobKEI=?=', '=?shift_jis?B?grGC8YLJgr+CzQ==?='],
  ['김철수', '안녕하세요', '=?ks_c_5601-1987?B?sejDtrz2?=', '=?euc-kr?B?vsiz58fPvLy/5A==?='],
  ['محمد علي', 'مرحبا بالعالم'],
  ['דוד כהן', 'שלום עולם'],
  ['สมชาย ใจดี', 'สวัสดีชาวโลก'],
  ['Zoë 😀 Ünal', '🎉 e\u0301clair 👨‍👩‍👧'],
];
const HTML = '<html><head><meta charset="windows-1251"><title>x</title></head><body><p>\u041f\u0440\u0438\u0432\u0435\u0442, \u4e16\u754c 😀</p></body></html>';
const PLAIN = 'Καλημέρα! 안녕 עברית < 世界 > 😀\r\n';

let server;
let app;
before(async () => {
  server = await MailServer.start();
  app = await Application.start({
    settings: { POP_SERVER: `127.0.0.1:${server.popPort}`, NEW_WINDOW: 'FALSE', TEST_MODE: 'FALSE' },
    lists: { friendlist: ['@friend.example'], subjectlist: [], enemylist: [] },
  });
});
after(async () => {
  await app?.stop();
  await server?.stop();
});

function reset() {
  server.maildrop.messages = [];
  MAILS.forEach(([name, subject, from = b64(name), field = b64(subject)], i) => {
    const body = i % 2 ? ['text/html', HTML] : ['text/plain', PLAIN];
    server.maildrop.add({ uid: `u${i}`, data: Buffer.from(
      `From: ${from} <sender${i}@far.example>\r\nTo: joe@home.example\r\nSubject: ${field}\r\n` +
      'Date: Mon, 09 Nov 2026 08:12:41 +0000\r\nMIME-Version: 1.0\r\n' +
      `Content-Type: ${body[0]}; charset=utf-8\r\nContent-Transfer-Encoding: 8bit\r\n\r\n${body[1]}\r\n`) });
  });
  for (const name of Object.keys(app.spamBox())) app.remove(`spam/${name}`);
  app.write('data/friendlist.txt', '@friend.example\r\n');
  app.write('data/subjectlist.txt', '');
  app.write('data/enemylist.txt', '');
}

inEachBrowser((userTest) => {
  userTest('LettersOfTheWholeWorldAreReadFilteredAndFound', () => app, async (user) => {
    reset();
    await user.login();
    await user.go('inbox');
    const rows = await user.rows();
    assert.deepEqual(rows.map((row) => row.subject), MAILS.map(([, subject]) => subject));
    rows.forEach((row, i) => assert.ok(`${MAILS[i][0]} <sender${i}@far.example>`.startsWith(row.from.slice(0, 20)), row.from));
    await user.picture('alphabets-inbox', { whole: true });

    // From a row, in whatever case the row has it.
    await user.page.click('#boxes tbody tr:nth-child(2) td.from a');
    assert.equal(await user.page.inputValue('#addinput'), 'sender1@far.example');
    await user.page.click('.shorter button:text-is("иван петров <sender1@far.example>")');
    assert.equal(await user.page.inputValue('#addinput'), 'иван петров <sender1@far.example>');
    await user.page.fill('#addinput', 'ИВАН ПЕТРОВ');
    await user.page.click('button:text("Add to FriendList")');
    await user.page.waitForFunction(() => document.querySelector('#strip').textContent.includes('Added "иван петров" to the FriendList.'));
    await user.go('friendlist');
    assert.deepEqual((await user.page.$$eval('#entries option', (all) => all.map((one) => one.textContent))), ['иван петров', '@friend.example']);
    assert.match(app.read('data/friendlist.txt'), /^&#1080;&#1074;&#1072;&#1085; /m);

    // From the keyboard, twice in different case: the second is a duplicate.
    await user.go('subjectlist');
    for (const entry of ['καλημέρα', 'ΚΑΛΗΜΈΡΑ', '你好', '😀 & שלום %']) {
      await user.page.fill('#addinput', entry);
      await user.page.click('button:text("Add")');
      await user.page.waitForFunction(() => document.readyState === 'complete' && document.querySelector('#addinput')?.value === '');
    }
    const entries = () => user.page.$$eval('#entries option', (all) => all.map((one) => one.textContent).sort());
    assert.deepEqual(await entries(), ['καλημέρα', '你好', '😀 & שלום %'].sort());
    await user.picture('alphabets-list');

    // Found, in the other case too.
    await user.go('find');
    await user.page.fill('#findinlists', 'ΜΈΡΑ');
    await user.page.click('button:text("Search")');
    await user.page.waitForFunction(() => document.querySelector('.result p')?.textContent.includes('ΜΈΡΑ'));
    const result = await user.text('.result');
    assert.match(result, /Last search: ΜΈΡΑ/);
    assert.match(result, /- καλημέρα/);
    await user.picture('alphabets-search');

    // Filtered: the Greek and the Chinese subject and the Russian friend stay.
    await user.page.click('text=Filter mail');
    await user.shows('spambox');
    assert.deepEqual(server.maildrop.uids(), ['u0', 'u1', 'u2']);
    assert.deepEqual((await user.subjects()).sort(), MAILS.slice(3).map(([, subject]) => subject).sort());
    await user.picture('alphabets-spambox', { whole: true });
    assert.match(app.log(), /Removing spam from &#51064;|Removing spam from &#44608;/);

    // Taken off again.
    await user.go('subjectlist');
    await user.page.selectOption('#entries', { label: '你好' });
    await user.page.click('button:text("Remove the selected entry")');
    await user.page.waitForFunction(() => document.querySelectorAll('#entries option').length === 2);
    assert.deepEqual(await entries(), ['καλημέρα', '😀 & שלום %'].sort());
  });

  userTest('BodiesShowTheLettersThemselves', () => app, async (user) => {
    reset();
    await user.login();
    for (const [subject, text] of [['Καλημέρα σας', PLAIN.trim()], ['Привет из Москвы', 'Привет, 世界 😀']]) {
      await user.go('inbox');
      await user.page.click(`#boxes a:text-is("${subject}")`);
      const body = user.page.frameLocator('iframe').locator('body');
      await until(async () => (await body.innerText()).includes(text), `a body that says "${text}"`);
      await user.picture(`alphabets-message-${subject === 'Καλημέρα σας' ? 'plain' : 'html'}`);
      await user.page.goBack();
      await user.shows('inbox');
    }
  });
});
