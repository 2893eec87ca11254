// Letters of every alphabet in the window: the log box shows them, the import dialog takes them.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { after, before, test } from 'node:test';

import { repository } from '../support/launcher.mjs';
import { until } from '../support/tools.mjs';
import { Desktop, windowsPath } from './wine.mjs';

const POSITION = 302, COMMA = 304, LIST = 306, IMPORT = 307, LOAD = 308;
let desktop;
let app;
before(async () => {
  desktop = await Desktop.start();
  app = await desktop.install({ lists: { friendlist: ['@friend.example'], subjectlist: [], enemylist: [] } });
  await desktop.run(app);
  await app.login();
});
after(async () => { await desktop?.stop(); });

const NAMES = ['σοφία', 'иван', '王小明', '山田太郎', '김철수', 'محمد', 'דוד', 'สมชาย', '😀e\u0301'];
// As a page's script posts them.
const posted = (text) => [...text].map((letter) => (letter.charCodeAt(0) < 256 ? letter : `%26#${letter.codePointAt(0)};`)).join('');

test('The log box shows the letters themselves, and the log file writes them as references', async () => {
  for (const name of NAMES) await app.post('/addtolist.cgi?s={s}', { addtolist: posted(name), type: 'FriendList', END: '1' });
  await until(async () => (await desktop.logText()).includes(`FriendList add: ${NAMES.at(-1)}`), 'the last name in the box');
  const text = await desktop.logText();
  for (const name of NAMES) assert.ok(text.includes(`FriendList add: ${name}\r\n`), name);
  assert.match(app.log(), /FriendList add: &#1080;&#1074;&#1072;&#1085;\r\n/);
  const main = await desktop.main({ visible: true });
  const [left, top, right, bottom] = main.rect;
  await desktop.screenshot(path.join(repository, 'build', 'screenshots', 'log-box-letters.png'), [left, top, right, bottom]);
});

test('An address book in UTF-16 is loaded, shown and imported in its own letters', async () => {
  const file = `${desktop.folder}/book.csv`;
  fs.writeFileSync(file, Buffer.from('\ufeffx,Иван@Book.example\r\ny,王@book.example\r\n', 'utf16le'));
  const dialog = await desktop.openDialog('Import', 'Import Addresses to FriendList');
  await desktop.fill(desktop.control(dialog, POSITION), '2');
  await desktop.click(desktop.control(dialog, COMMA));
  await desktop.click(desktop.control(dialog, LOAD));
  const choose = await desktop.dialog('Select comma delimited text file.');
  await desktop.type(windowsPath(file));
  await desktop.key('Return');
  await desktop.gone(choose);
  const list = async () => await desktop.ask(`text ${desktop.control(dialog, LIST).handle}`);
  await until(async () => (await list()) === 'Иван@Book.example\r\n王@book.example\r\n', 'the list');
  await desktop.click(desktop.control(dialog, IMPORT));
  assert.equal(await desktop.answerBox(), '2 addresses added. 0 skipped as duplicate.');
  assert.match(app.read('data/friendlist.txt'), /^&#1080;&#1074;&#1072;&#1085;@book\.example\r\n/m);
  assert.match(app.read('data/friendlist.txt'), /^&#29579;@book\.example\r\n/m);
  await desktop.key('Escape');
  await desktop.gone(dialog);
});
