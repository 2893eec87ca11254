// The windows under the hands of a person: what the keys do, what an open dialog keeps from happening, what the icon does
// to a window that fills the screen.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import net from 'node:net';
import { after, afterEach, before, test } from 'node:test';

import { freePort, until } from '../support/tools.mjs';
import { Desktop } from './wine.mjs';

const IMPORT_TITLE = 'Import Addresses to FriendList';
const DIALOGS = [['Import', IMPORT_TITLE], ['Config', 'Config'], ['About', 'About Vornelle']];
const LAUNCH = 101, LOG = 107, FIELD_POSITION = 302, TAB = 303, COMMA = 304, LIST = 306;
let desktop;
let app;
before(async () => {
  desktop = await Desktop.start();
  app = await desktop.install({ settings: { POP_SERVER: '', SMTP_SERVER: '' } });
  await desktop.run(app);
});
after(async () => { await desktop?.stop(); });
afterEach(async () => {
  for (let tries = 0; tries < 5 && (await dialogs()).length > 0; tries++) {
    await desktop.key('Escape');
    await new Promise((resolve) => setTimeout(resolve, 300));
  }
});

const dialogs = async () => (await desktop.windows()).filter((window) => window.class === '#32770');
const focused = async (title) => (await desktop.dialog(title)).children.find((child) => child.focused)?.id;

test('While a dialog is open the main window takes no input; afterwards it is in front again', async () => {
  for (const [entry, title] of DIALOGS) {
    const dialog = await desktop.openDialog(entry, title);
    const main = await desktop.main();
    assert.equal(main.enabled, false, entry);
    assert.equal(dialog.owner, main.handle, entry);
    await desktop.key('Escape');
    await desktop.gone(dialog);
    await until(async () => { const now = await desktop.main(); return now.enabled && now.foreground; }, `the window after ${entry}`);
  }
});

test('The close button closes each dialog and nothing else', async () => {
  for (const [entry, title] of DIALOGS) {
    const dialog = await desktop.openDialog(entry, title);
    await desktop.ask(`close ${dialog.handle}`);
    await desktop.gone(dialog);
  }
  assert.match(await app.get('/'), /<form/i);
});

test('The Enter key presses the button of the main window that has the focus, the Escape key does nothing', async () => {
  await desktop.activate();
  await desktop.key('alt+g');
  await until(async () => desktop.control(await desktop.main(), LOG).focused, 'the focus in the log box');
  await desktop.key('Escape');
  fs.rmSync(desktop.opened, { force: true });
  await desktop.key('Tab');
  await until(async () => desktop.control(await desktop.main(), LAUNCH).focused, 'the focus on Launch');
  await desktop.key('Return');
  await until(() => fs.existsSync(desktop.opened), 'the browser');
  assert.equal((await desktop.main()).visible, true);
});

test('Access keys lead to every box of the settings dialog', async () => {
  const dialog = await desktop.openDialog('Config', 'Config');
  for (const [key, row] of Object.entries({ s: 2, f: 1, h: 0, p: 3, a: 4, w: 5, m: 6, n: 7, r: 8, e: 10, z: 11, l: 12, g: 14 })) {
    await desktop.key(`alt+${key}`);
    await until(async () => (await focused('Config')) === 200 + row, `the focus in row ${row}`);
  }
  for (const [key, row] of Object.entries({ d: 9, o: 13 })) {
    const before = desktop.control(dialog, 200 + row).checked;
    await desktop.key(`alt+${key}`);
    await until(async () => desktop.control(await desktop.dialog('Config'), 200 + row).checked !== before, `the box of row ${row}`);
  }
  await desktop.key('alt+c');
  await desktop.gone(dialog);
  const again = await desktop.openDialog('Config', 'Config');
  await desktop.key('alt+u');
  await desktop.answerBox();
  assert.equal(await desktop.answerBox(), 'Settings updated');
  await desktop.gone(again);
});

test('Access keys work the import dialog', async () => {
  await desktop.openDialog('Import', IMPORT_TITLE);
  const now = async (id) => desktop.control(await desktop.dialog(IMPORT_TITLE), id);
  await desktop.key('alt+t');
  await until(async () => (await now(TAB)).checked, 'tabs');
  await desktop.key('alt+c');
  await until(async () => (await now(COMMA)).checked && !(await now(TAB)).checked, 'commas');
  await desktop.key('alt+f');
  await until(async () => (await now(FIELD_POSITION)).focused, 'the field position');
  await desktop.key('alt+i');
  await until(async () => (await now(LIST)).focused, 'the list');
  await desktop.key('alt+v');
  assert.match(await desktop.answerBox(), /^There are no addresses to import\./);
});

test('Tab goes through the import dialog from top to bottom, and the Enter key makes a new line in the list', async () => {
  const dialog = await desktop.openDialog('Import', IMPORT_TITLE);
  await until(async () => (await focused(IMPORT_TITLE)) === FIELD_POSITION, 'the focus in the first box');
  for (const next of [COMMA, LIST]) {
    await desktop.key('Tab');
    await until(async () => (await focused(IMPORT_TITLE)) === next, `the focus in ${next}`);
  }
  await desktop.type('ann@x');
  await desktop.key('Return');
  await desktop.type('bob@x');
  await until(async () => (await desktop.ask(`text ${desktop.control(dialog, LIST).handle}`)) === 'ann@x\r\nbob@x', 'two lines');
  for (const next of [308, 307, FIELD_POSITION]) {
    await desktop.key('Tab');
    await until(async () => (await focused(IMPORT_TITLE)) === next, `the focus in ${next}`);
  }
});

test('The open-file dialog starts with the first of its three filters', async () => {
  await desktop.openDialog('Import', IMPORT_TITLE);
  await desktop.key('alt+l');
  const choose = await desktop.dialog('Select comma delimited text file.');
  const filter = choose.children.find((child) => child.class === 'ComboBox' && child.text.startsWith('Text Files'));
  assert.equal(filter?.text, 'Text Files (*.txt)');
  await desktop.key('Escape');
  await desktop.gone(choose);
});

test('A new port is used from the next start on, the running listener stays', async () => {
  const port = await freePort();
  const dialog = await desktop.openDialog('Config', 'Config');
  await desktop.fill(desktop.control(dialog, 200), String(port));
  await desktop.click(desktop.control(dialog, 'Update'));
  await desktop.answerBox();
  await desktop.answerBox();
  await desktop.gone(dialog);
  assert.match(await app.get('/'), /<form/i);
  assert.equal(app.settings().HTTP_PORT_CFG, String(port));
  const refused = await new Promise((resolve) => {
    const socket = net.connect(port, '127.0.0.1', () => { socket.destroy(); resolve(false); });
    socket.once('error', () => resolve(true));
  });
  assert.ok(refused, 'nobody listens on the new port');
  // Back again, for the tests that follow.
  const back = await desktop.openDialog('Config', 'Config');
  await desktop.fill(desktop.control(back, 200), String(app.port));
  await desktop.click(desktop.control(back, 'Update'));
  await desktop.answerBox();
  await desktop.answerBox();
  await desktop.gone(back);
});

test('A click on the icon brings a dialog that is open to the front with its window', async () => {
  await desktop.moveAside();
  const dialog = await desktop.openDialog('Config', 'Config');
  await desktop.insist(() => desktop.clickIcon(), async () => (await desktop.dialog('Config')).foreground, 'the dialog in front');
  const main = await desktop.main();
  assert.ok(main.visible && !main.enabled);
  await desktop.click(desktop.control(await desktop.dialog('Config'), 'Cancel'));
  await desktop.gone(dialog);
});

test('A click on the icon gives a maximised window its normal size again, hidden or not', async () => {
  await desktop.moveAside();
  const before = (await desktop.main()).rect;
  const width = ([left, , right]) => right - left;
  for (const hidden of [false, true]) {
    await desktop.insist(async () => {
      const [left, top, right] = (await desktop.main()).rect;
      await desktop.xdotool('mousemove', Math.round((left + right) / 2), top + 8, 'click', '--repeat', 2, '--delay', 40, 1);
    }, async () => width((await desktop.main()).rect) > 1200, 'the maximised window');
    if (hidden) await desktop.minimize();
    await desktop.insist(() => desktop.clickIcon(), async () => {
      const main = await desktop.main();
      return main.visible && !main.iconic && width(main.rect) === width(before);
    }, `the normal window${hidden ? ' after it was hidden' : ''}`);
  }
});

test('The mouse that is dragged along the top of the window is not taken for the icon', async () => {
  await desktop.moveAside();
  const width = ([left, , right]) => right - left;
  const normal = width((await desktop.main()).rect);
  await desktop.ask(`maximize ${(await desktop.main()).handle}`);
  await until(async () => width((await desktop.main()).rect) > 1200, 'the maximised window');
  // Every point with the icon's numbers across that the top row of the window's inside can have.
  const main = await desktop.main();
  const [left] = main.rect;
  const top = Math.min(...main.children.map((child) => child.rect[1]));
  const moves = [];
  for (let y = top - 1; y > top - 30; y--) {
    for (let x = left + 508; x < left + 528; x++) moves.push('mousemove', x, y, 'sleep', '0.004');
  }
  await desktop.xdotool('mousemove', left + 500, top - 1, 'mousedown', 1, ...moves, 'mouseup', 1);
  assert.ok(width((await desktop.main()).rect) > 1200, 'still maximised');
  await desktop.insist(() => desktop.clickIcon(),
    async () => width((await desktop.main()).rect) === normal, 'the normal window');
});

test('A NUL in a line does not hide what is logged after it', async () => {
  const before = (await desktop.logText()).length;
  await app.post('/login.cgi', { POP_ACCOUNT: 'odd\0name', POP_PASSWORD: 'odd', SUBMIT: 'Login' });
  await app.get('/');
  await until(() => /Bad login: odd\0name, odd\r\n/.test(app.log()), 'the NUL in the file');
  await until(async () => /Bad login: odd.?name, odd\r\n\[.*login\.cgi request complete!\r\n/
    .test((await desktop.logText()).slice(before)), 'the whole lines in the box', 4000);
});
