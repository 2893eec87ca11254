// The settings dialog, the import dialog and the about window as their user sees and uses them.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { after, before, beforeEach, test } from 'node:test';

import { repository } from '../support/launcher.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { until } from '../support/tools.mjs';
import { Desktop, windowsPath } from './wine.mjs';

// The rows of the settings dialog by number.
const BOX = 200;
const ROW = { port: 0, check: 1, session: 2, pop: 3, account: 4, password: 5, smtp: 6, smtpUser: 7, smtpPassword: 8,
  newWindow: 9, email: 10, spamSize: 11, linkSize: 12, linkSizeOn: 13, perPage: 14 };
const CONNECT_TEXT = 'Vornelle will now attempt to connect to servers.\nThis may take a few seconds.';

let desktop;
let app;
before(async () => {
  desktop = await Desktop.start();
  app = await desktop.install({
    settings: { POP_SERVER: '', SMTP_SERVER: '', SMTP_PASSWORD: 'sesame', CHECK_MIN: 30, MAX_LINK_SIZE_ON: 'TRUE' } });
  await desktop.run(app);
});
after(async () => { await desktop?.stop(); });
// A dialog that a failed test left open would fail all the others.
beforeEach(async () => {
  for (const window of await desktop.windows()) {
    if (window.class !== '#32770') continue;
    await desktop.key('Escape');
    await until(async () => !(await desktop.windows()).some((other) => other.handle === window.handle), 'the closed dialog');
  }
});

const config = async () => {
  return await desktop.openDialog('Config', 'Config');
};
const box = (dialog, row) => desktop.control(dialog, BOX + row);
const press = async (dialog, caption) => { await desktop.click(desktop.control(dialog, caption)); };
const serves = async () => assert.match(await app.get('/'), /<form/i);

test('The settings dialog shows its labels, units and the settings of the file', async () => {
  const dialog = await config();
  const texts = dialog.children.map((child) => child.text);
  for (const text of ['HTTP Port:', 'Filter Timer:', 'Session Timeout:', 'POP3 Mail Server:', 'Account Name:',
    'Account Password:', 'SMTP Server:', 'SMTP Auth Username:', 'SMTP Auth Password:', 'Display in New Window:',
    'Email Address:', 'Maximum Spam Size:', 'Maximum Link Size', 'On/Off', 'Messages Per Page', 'Chg req restart',
    'mins (10-60)', 'kbytes (10-30000)', 'Update', 'Cancel']) {
    assert.ok(texts.includes(text), `no "${text}"`);
  }
  assert.equal(box(dialog, ROW.port).text, String(app.wantedPort));
  assert.equal(box(dialog, ROW.check).text, '30');
  assert.equal(box(dialog, ROW.account).text, 'joe');
  assert.equal(box(dialog, ROW.email).text, 'joe@home.example');
  assert.equal(box(dialog, ROW.spamSize).text, '150');
  assert.equal(box(dialog, ROW.perPage).text, '15');
  assert.equal(box(dialog, ROW.newWindow).checked, true);
  assert.equal(box(dialog, ROW.linkSizeOn).checked, true);
  await press(dialog, 'Cancel');
  await desktop.gone(dialog);
});

test('The settings dialog has its tool tips', async () => {
  const dialog = await config();
  const tips = await desktop.ask(`tips ${dialog.pid}`);
  const tipOf = (row) => tips.find((tip) => tip.window === box(dialog, row).handle)?.text;
  assert.deepEqual(Object.values(ROW).map(tipOf), [
    'HTTP Port that Vornelle listens to', 'How often to automatically filter for spam', 'How long before user must relogin',
    'POP3 mail server name', 'E-mail account name', 'E-mail account password', 'Server used to send mail',
    'Sending server username. Not always required.', 'Sending server password. Not always required.',
    'Displays email/spam in new browser window', 'Account e-mail address',
    'Messages larger than this are not considered spam', 'No link to read messages is provided if larger than this',
    undefined, 'Number of messages to show per page']);
  await desktop.key('Escape');
  await desktop.gone(dialog);
});

test('Password boxes hold asterisks only, and unchanged they keep the passwords', async () => {
  const dialog = await config();
  assert.equal(box(dialog, ROW.password).text, '******');
  assert.equal(box(dialog, ROW.smtpPassword).text, '******');
  await press(dialog, 'Update');
  assert.equal(await desktop.answerBox(), CONNECT_TEXT);
  assert.equal(await desktop.answerBox(), 'Settings updated');
  await desktop.gone(dialog);
  assert.equal(app.settings().POP_PASSWORD, 'secret');
  assert.equal(app.settings().SMTP_PASSWORD, 'sesame');
});

test('Numbers out of range are clamped, and everything typed reaches the file', async () => {
  const dialog = await config();
  await desktop.fill(box(dialog, ROW.check), '5');
  await desktop.fill(box(dialog, ROW.session), '100');
  await desktop.fill(box(dialog, ROW.spamSize), '9');
  await desktop.fill(box(dialog, ROW.linkSize), '30001');
  await desktop.fill(box(dialog, ROW.perPage), '7');
  await desktop.fill(box(dialog, ROW.password), 'newer');
  await desktop.fill(box(dialog, ROW.email), 'jo@home.example');
  await desktop.click(box(dialog, ROW.newWindow));
  await desktop.click(box(dialog, ROW.linkSizeOn));
  await press(dialog, 'Update');
  assert.equal(await desktop.answerBox(), CONNECT_TEXT);
  assert.equal(await desktop.answerBox(), 'Settings updated');
  await desktop.gone(dialog);
  const saved = app.settings();
  assert.equal(saved.CHECK_MIN, '10');
  assert.equal(saved.SESSION_MIN, '60');
  assert.equal(saved.MAX_SPAM_SIZE, '10');
  assert.equal(saved.MAX_LINK_SIZE, '30000');
  assert.equal(saved.MESSAGES_PER_PAGE, '7');
  assert.equal(saved.POP_PASSWORD, 'newer');
  assert.equal(saved.EMAIL_ADDRESS, 'jo@home.example');
  assert.equal(saved.NEW_WINDOW, 'FALSE');
  assert.equal(saved.MAX_LINK_SIZE_ON, 'FALSE');
});

test('Cancel and the Escape key store nothing', async () => {
  const before = app.read('Vornelle.ini');
  for (const leave of [(dialog) => press(dialog, 'Cancel'), () => desktop.key('Escape')]) {
    const dialog = await config();
    await desktop.fill(box(dialog, ROW.check), '44');
    await leave(dialog);
    await desktop.gone(dialog);
  }
  assert.equal(app.read('Vornelle.ini'), before);
});

for (const [name, row, message] of [
  ['port', ROW.port, 'HTTP Port takes a whole number, for example 7000.'],
  ['messages-per-page', ROW.perPage, 'Messages Per Page takes a whole number up to 32767, for example 15.'],
]) {
  test(`A ${name} box that holds no number is refused: a message, the focus in it, nothing stored`, async () => {
    const before = app.read('Vornelle.ini');
    const dialog = await config();
    await desktop.fill(box(dialog, row), 'many');
    await desktop.fill(box(dialog, ROW.account), 'other');
    await press(dialog, 'Update');
    assert.equal(await desktop.answerBox(), message);
    await until(async () => box(await desktop.dialog('Config'), row).focused, 'the focus in the refused box');
    assert.equal(app.read('Vornelle.ini'), before);
    await desktop.key('Escape');
    await desktop.gone(dialog);
  });
}

test('Servers that let nobody in are reported in turn, the settings stay saved, the dialog stays open', async () => {
  const server = await MailServer.start({ messages: [], user: 'joe', password: 'right' });
  try {
    const dialog = await config();
    await desktop.fill(box(dialog, ROW.pop), `127.0.0.1:${server.popPort}`);
    await desktop.fill(box(dialog, ROW.smtp), `127.0.0.1:${server.smtpPort}`);
    await desktop.fill(box(dialog, ROW.smtpUser), 'joe');
    await desktop.fill(box(dialog, ROW.smtpPassword), 'wrong');
    await desktop.key('Return');  // Update is the default button
    assert.equal(await desktop.answerBox(), CONNECT_TEXT);
    assert.equal(await desktop.answerBox(30000), 'Cannot log onto POP3 Server!');
    assert.equal(await desktop.answerBox(30000), 'Cannot log onto SMTP Server!');
    assert.equal(await desktop.answerBox(), 'Settings updated');
    assert.equal(app.settings().POP_SERVER, `127.0.0.1:${server.popPort}`);
    // Why, in a line of its own above the buttons.
    const notes = await until(async () => {
      const text = (await desktop.dialog('Config')).children.find((child) => child.id === 290)?.text ?? '';
      return /^POP3: While logging on/.test(text) && text;
    }, 'the reasons');
    assert.match(notes, /^POP3: While logging on, 127\.0\.0\.1 \(port \d+\) said: "-ERR [^"]*"/);
    assert.match(notes, /\nSMTP: While logging on, 127\.0\.0\.1 \(port \d+\) said: "535 [^"]*"/);
    const open = await desktop.dialog('Config');
    await desktop.fill(box(open, ROW.password), 'right');
    await desktop.fill(box(open, ROW.smtpPassword), 'right');
    await press(open, 'Update');
    assert.equal(await desktop.answerBox(), CONNECT_TEXT);
    assert.equal(await desktop.answerBox(30000), 'Settings updated');
    await desktop.gone(open);
    assert.ok(server.pop.count('PASS') === 2 && server.smtp.count('AUTH') === 2);
  } finally {
    await server.stop();
  }
});

test('Reasons that are too long for their place are reached by the Tab key and scrolled; short ones are passed over', async () => {
  const NOTES = 290;
  const words = 'your account has been locked for reasons that we would rather tell you in full '.repeat(3).trim();
  const server = await MailServer.start({ messages: [], user: 'joe', password: 'secret',
    pop: { faults: [{ verb: 'PASS', error: words }] }, smtp: { faults: [{ verb: 'AUTH-PASSWORD', error: words }] } });
  try {
    const dialog = await config();
    const afterTheLastBox = async () => {
      await desktop.click(box(await desktop.dialog('Config'), ROW.perPage));
      await desktop.key('Tab');
      const id = async () => (await desktop.dialog('Config')).children.find((child) => child.focused)?.id;
      await until(async () => ![undefined, BOX + ROW.perPage].includes(await id()), 'the focus');
      return await id();
    };
    assert.notEqual(await afterTheLastBox(), NOTES);
    await desktop.fill(box(dialog, ROW.pop), `127.0.0.1:${server.popPort}`);
    await desktop.fill(box(dialog, ROW.smtp), `127.0.0.1:${server.smtpPort}`);
    await desktop.fill(box(dialog, ROW.smtpUser), 'joe');
    await desktop.key('Return');
    for (const text of [CONNECT_TEXT, 'Cannot log onto POP3 Server!', 'Cannot log onto SMTP Server!', 'Settings updated']) {
      assert.equal(await desktop.answerBox(30000), text);
    }
    assert.equal(await afterTheLastBox(), NOTES);
    const notes = desktop.control(await desktop.dialog('Config'), NOTES);
    assert.equal((await desktop.ask(`text ${notes.handle}`)).split(words).length, 3, 'both reasons');
    await until(async () => (await desktop.ask(`topline ${notes.handle}`)) === 0, 'their beginning');
    const area = (await desktop.dialog('Config')).rect;
    await desktop.screenshot(path.join(repository, 'build', 'screenshots', 'settings-dialog-long-notes.png'), area);
    await desktop.key('ctrl+End');
    await until(async () => (await desktop.ask(`topline ${notes.handle}`)) > 0, 'the end of the reasons');
    server.pop.options.faults = [];
    server.smtp.options.faults = [];
    for (const row of [ROW.password, ROW.smtpPassword]) await desktop.fill(box(await desktop.dialog('Config'), row), 'secret');
    await press(await desktop.dialog('Config'), 'Update');
    for (const text of [CONNECT_TEXT, 'Settings updated']) assert.equal(await desktop.answerBox(30000), text);
    await desktop.gone(dialog);
  } finally {
    await server.stop();
  }
});

test('Pages are served while the settings dialog and its message boxes are open', async () => {
  const dialog = await config();
  await serves();
  await desktop.fill(box(dialog, ROW.port), 'many');
  await press(dialog, 'Update');
  await desktop.messageBox();
  await serves();
  await desktop.answerBox();
  await desktop.key('Escape');
  await desktop.gone(dialog);
});

test('Tab goes through the settings dialog from top to bottom', async () => {
  const dialog = await config();
  const seen = [];
  await until(async () => box(await desktop.dialog('Config'), ROW.port).focused, 'the focus in the first box');
  for (let i = 0; i < 16; i++) {
    const before = seen.at(-1) ?? BOX;
    await desktop.key('Tab');
    seen.push(await until(async () => {
      const now = (await desktop.dialog('Config')).children.find((child) => child.focused)?.id;
      return now !== before && now;
    }, 'a new focus'));
  }
  assert.deepEqual(seen, [...Array.from({ length: 14 }, (_, i) => BOX + 1 + i), 1, 2]);
  await desktop.key('Escape');
  await desktop.gone(dialog);
});

const importDialog = async () => {
  return await desktop.openDialog('Import', 'Import Addresses to FriendList');
};
const POSITION = 302, TAB = 303, COMMA = 304, LIST = 306, IMPORT = 307, LOAD = 308;

test('The import dialog has its captions and tool tips, and a pair of option buttons', async () => {
  const dialog = await importDialog();
  const texts = dialog.children.map((child) => child.text);
  for (const text of ['Field position:', 'Tab delimited', 'Comma delimited', 'Import List:', 'Import into Vornelle', 'Load File']) {
    assert.ok(texts.includes(text), `no "${text}"`);
  }
  const tips = await desktop.ask(`tips ${dialog.pid}`);
  const tipOf = (id) => tips.find((tip) => tip.window === desktop.control(dialog, id).handle)?.text;
  assert.deepEqual([POSITION, TAB, COMMA, LIST, IMPORT, LOAD].map(tipOf), [
    'Position of e-mail address field', 'Select if fields separated by tabs', 'Select if fields separated by commas',
    'Editable list to be imported', 'Import list into Vornelle FriendList',
    'Load a delimited text file containing e-mail addresses']);
  for (const [chosen, other] of [[TAB, COMMA], [COMMA, TAB]]) {
    await desktop.click(desktop.control(dialog, chosen));
    await until(async () => {
      const now = await desktop.dialog('Import Addresses to FriendList');
      return desktop.control(now, chosen).checked && !desktop.control(now, other).checked;
    }, 'the other choice');
  }
  await serves();
  await desktop.key('Escape');
  await desktop.gone(dialog);
});

test('Importing an empty list says so and changes nothing', async () => {
  const before = app.read('data/friendlist.txt');
  const dialog = await importDialog();
  await desktop.click(desktop.control(dialog, IMPORT));
  assert.equal((await desktop.answerBox()).replaceAll('\r', ''),
    'There are no addresses to import.\nPlease import a file first.');
  assert.equal(app.read('data/friendlist.txt'), before);
  await desktop.key('Escape');
  await desktop.gone(dialog);
});

test('A field position that is no number of 1 or more is refused before a file is asked for', async () => {
  const dialog = await importDialog();
  for (const text of ['0', 'two', '']) {
    await desktop.fill(desktop.control(dialog, POSITION), text);
    await desktop.click(desktop.control(dialog, LOAD));
    assert.equal(await desktop.answerBox(), 'Field position takes a whole number of 1 or more.');
  }
  assert.equal((await desktop.windows()).filter((window) => window.class === '#32770').length, 1);
  await desktop.key('Escape');
  await desktop.gone(dialog);
});

test('A file with a NUL byte is loaded, edited and imported; what is there already is skipped and keeps its spelling', async () => {
  const file = `${desktop.folder}/book.csv`;
  app.write('data/friendlist.txt', '@Friend.example\r\n');
  fs.writeFileSync(file, 'Bob Smith,"Bob@Book\0.example"\r\nNobody\r\nFay, @FRIEND.example\r\nAnn,ann@book.example\r\n');
  const dialog = await importDialog();
  await desktop.fill(desktop.control(dialog, POSITION), '2');
  await desktop.click(desktop.control(dialog, COMMA));
  await desktop.click(desktop.control(dialog, LOAD));
  const choose = await desktop.dialog('Select comma delimited text file.');
  await serves();
  await desktop.type(windowsPath(file));
  await desktop.key('Return');
  await desktop.gone(choose);
  const listText = async () => await desktop.ask(`text ${desktop.control(dialog, LIST).handle}`);
  await until(async () => (await listText()) === 'Bob@Book.example\r\n@FRIEND.example\r\nann@book.example\r\n', 'the list');
  await desktop.click(desktop.control(dialog, LIST));
  await desktop.key('ctrl+End');
  await desktop.type('Zoe@added.example');
  await desktop.click(desktop.control(dialog, IMPORT));
  assert.equal(await desktop.answerBox(), '3 addresses added. 1 skipped as duplicate.');
  assert.equal(app.read('data/friendlist.txt'),
    '@Friend.example\r\nann@book.example\r\nbob@book.example\r\nzoe@added.example\r\n');
  await desktop.key('Escape');
  await desktop.gone(dialog);
});

test('Cancelling the open-file dialog leaves the list alone', async () => {
  const dialog = await importDialog();
  await desktop.click(desktop.control(dialog, LIST));
  await desktop.type('kept@list.example');
  await desktop.click(desktop.control(dialog, LOAD));
  const choose = await desktop.dialog('Select comma delimited text file.');
  await desktop.key('Escape');
  await desktop.gone(choose);
  assert.equal(await desktop.ask(`text ${desktop.control(dialog, LIST).handle}`), 'kept@list.example');
  await desktop.key('Escape');
  await desktop.gone(dialog);
});

test('The about window shows its text within two seconds where the browser control cannot load, and its link works', async () => {
  const dialog = await desktop.openDialog('About', 'About Vornelle');
  await serves();
  const shown = await until(async () => (await desktop.dialog('About Vornelle')).children.find((child) => child.id === 401 &&
    child.class === 'SysLink'), 'the text', 8000);
  const text = await desktop.ask(`text ${shown.handle}`);
  assert.match(text, /^Vornelle v1\.0\.0\n/);
  assert.ok(text.includes(`Vornelle is currently listening to port ${app.port}. To access on this PC use this URL: `));
  assert.ok(text.includes(`<a href="http://localhost:${app.port}">http://localhost:${app.port}</a>`));
  fs.rmSync(desktop.opened, { force: true });
  await desktop.key('Tab');  // from the OK button to the link
  await until(async () => desktop.control(await desktop.dialog('About Vornelle'), 401).focused, 'the focus in the text');
  await desktop.key('Return');
  await until(() => fs.existsSync(desktop.opened), 'the browser');
  assert.equal(fs.readFileSync(desktop.opened, 'utf8').trim(), `C:\\ http://localhost:${app.port}`);
  await press(dialog, 'OK');
  await desktop.gone(dialog);
});
