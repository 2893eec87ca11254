// How the Windows program starts and ends, and what it leaves in its folder.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import { after, afterEach, before, test } from 'node:test';

import { until } from '../support/tools.mjs';
import { Desktop, windowsPath } from './wine.mjs';

const CLOSING = ['***Closing Vornelle***', '************************'];
const KEYS = ['EMAIL_ADDRESS', 'SMTP_SERVER', 'SMTP_USER', 'SMTP_PASSWORD', 'POP_SERVER', 'POP_ACCOUNT', 'POP_PASSWORD',
  'HTTP_PORT_CFG', 'CHECK_MIN', 'SESSION_MIN', 'MAX_SPAM_SIZE', 'MAX_LINK_SIZE', 'MESSAGES_PER_PAGE', 'NEW_WINDOW',
  'MAX_LINK_SIZE_ON', 'ACTIVATE_START', 'START_MINIMIZED', 'TEST_MODE'];
let desktop;
before(async () => { desktop = await Desktop.start(); });
after(async () => { await desktop?.stop(); });
afterEach(async () => { for (const app of desktop.apps) await app.stop(); });

async function assertClosed(app) {
  assert.deepEqual(await app.end(), { code: 0, signal: null });
  assert.deepEqual(app.events().slice(-2), CLOSING);
  assert.deepEqual(Object.keys(app.settings()), KEYS);
}

test('A first start makes the SpamBox folder and the lists; the box shows the banner only', async () => {
  const app = await desktop.install({ settings: null });
  for (const name of ['friendlist', 'subjectlist', 'enemylist']) fs.rmSync(app.path(`data/${name}.txt`));
  await desktop.run(app);
  assert.ok(fs.statSync(app.path('spam')).isDirectory());
  for (const name of ['friendlist', 'subjectlist', 'enemylist']) assert.equal(app.read(`data/${name}.txt`), '');
  assert.equal(app.events()[0], 'Creating spam subdirectory...');
  assert.equal((await desktop.logText()).split('\r\n').length, 3);
  await desktop.clickMenu('Exit');
  await assertClosed(app);
});

test('The menu entry Exit ends the program and writes the settings file', async () => {
  const app = await desktop.install({ settings: { ACTIVATE_START: 'FALSE', SMTP_SERVER: 'mail.home.example' } });
  await desktop.run(app);
  await desktop.click(desktop.control(await desktop.main(), 106));
  await until(async () => desktop.control(await desktop.main(), 106).checked, 'Active');
  await desktop.clickMenu('Exit');
  await assertClosed(app);
  assert.equal(app.settings().ACTIVATE_START, 'TRUE');
  assert.equal(app.settings().SMTP_SERVER, 'mail.home.example');
});

test('The web request UNLOADME ends the program and writes the settings file', async () => {
  const app = await desktop.install();
  await desktop.run(app);
  await app.login();
  app.get('/UNLOADME?s={s}').catch(() => {});
  await assertClosed(app);
});

test('UNLOADME ends the program while a dialog is open, too', async () => {
  const app = await desktop.install();
  await desktop.run(app);
  await app.login();
  await desktop.clickMenu('Config');
  await desktop.dialog('Config');
  app.get('/UNLOADME?s={s}').catch(() => {});
  await assertClosed(app);
});

test('With START_MINIMIZED there is no window to see, only the icon, and the icon brings the window', async () => {
  const app = await desktop.install({ settings: { START_MINIMIZED: 'TRUE' } });
  await desktop.run(app);
  assert.equal((await desktop.main()).visible, false);
  assert.match(await app.get('/'), /<form/i);
  await desktop.restore();
  const main = await desktop.main({ visible: true, iconic: false });
  assert.equal(desktop.control(main, 102).checked, true);
  await desktop.moveAside();
  await desktop.clickMenu('Exit');
  await assertClosed(app);
  assert.equal(app.settings().START_MINIMIZED, 'TRUE');
});

// The text of a message box makes room for an icon; the place for one is always there under Wine.
function hasIcon(box) {
  const parts = box.children.filter((child) => child.class === 'Static');
  const icon = parts.find((part) => !part.text);
  return Boolean(icon) && parts.find((part) => part.text).rect[0] >= icon.rect[2];
}

test('A missing template is told in a message box; then the program ends and the settings are saved', async () => {
  const app = await desktop.install();
  fs.rmSync(app.path('data/top.inc'));
  const before = app.read('Vornelle.ini');
  await desktop.run(app, { listens: false });
  const box = await desktop.messageBox(30000);
  assert.ok(!hasIcon(box), JSON.stringify(box));
  assert.equal(await desktop.answerBox(), 'Missing installation files. Please reinstall.');
  await assertClosed(app);
  assert.notEqual(app.read('Vornelle.ini'), before);
});

test('Without a port a message box with an icon says so, and the program goes on without its web server', async () => {
  const app = await desktop.install({ settings: { HTTP_PORT_CFG: '65536' } });
  await desktop.run(app, { listens: false });
  const box = await desktop.messageBox(30000);
  assert.ok(hasIcon(box), JSON.stringify(box));
  assert.equal(await desktop.answerBox(), 'Error on loading winsock.');
  await desktop.main({ visible: true });
  await desktop.clickMenu('Exit');
  await assertClosed(app);
});

test('A second copy in the same folder says so, waits, and leaves the settings alone', async () => {
  const app = await desktop.install();
  await desktop.run(app);
  app.write('Vornelle.ini', app.read('Vornelle.ini') + 'REMARK=mine\r\n');
  const before = app.read('Vornelle.ini');
  const first = app.child;
  const port = app.port;
  const start = Date.now();
  app.launch();
  assert.deepEqual(await app.end(30000), { code: 0, signal: null });
  assert.ok(Date.now() - start >= 5000, 'it waits five seconds');
  assert.deepEqual(app.events().slice(-4),
    [' ', '***Vornelle is already running! This instance will terminate in 5 seconds.', ...CLOSING]);
  assert.equal(app.read('Vornelle.ini'), before);
  assert.match(await app.get('/'), /<form/i);
  assert.equal(app.port, port);
  app.child = first;
  app.ended = null;
  first.once('exit', (code, signal) => { app.ended = { code, signal }; });
  await desktop.clickMenu('Exit');
  await assertClosed(app);
});

test('A copy in another folder is another installation', async () => {
  const one = await desktop.install();
  await desktop.run(one);
  const two = await desktop.install({ settings: { HTTP_PORT_CFG: one.port } });
  two.launch();
  // The first one's port is taken: the second one moves up.
  const other = await until(async () => (await desktop.windows()).filter((window) => window.class === 'VornelleForm1' &&
    /^Vornelle \(v/.test(window.text)).length === 2, 'the second window', 30000);
  assert.ok(other);
  await until(async () => {
    const boxes = (await desktop.windows()).filter((window) => window.class === 'VornelleForm1')
      .map((window) => desktop.control(window, 107).text);
    return boxes.some((text) => text.includes(`localhost:${one.port}\r`)) &&
      boxes.some((text) => /localhost:(\d+)/.exec(text) && !text.includes(`localhost:${one.port}\r`));
  }, 'two ports');
  assert.ok(!two.log().includes('already running'));
});

test('Autostart is checked at the start when the shortcut is there', async () => {
  const users = `${desktop.prefix}/drive_c/users`;
  const user = fs.readdirSync(users).find((name) => name !== 'Public');
  const startup = `${users}/${user}/AppData/Roaming/Microsoft/Windows/Start Menu/Programs/StartUp`;
  fs.mkdirSync(startup, { recursive: true });
  fs.writeFileSync(`${startup}/vornelle.lnk`, '');
  const app = await desktop.install();
  await desktop.run(app);
  assert.equal(desktop.control(await desktop.main(), 103).checked, true);
  await desktop.click(desktop.control(await desktop.main(), 103));
  await until(() => !fs.existsSync(`${startup}/vornelle.lnk`), 'the end of the shortcut');
});

test('The shortcut points at vornelle.exe even when the program file has another name', async () => {
  const app = await desktop.install();
  fs.renameSync(app.path('vornelle.exe'), app.path('renamed.exe'));
  app.launch('renamed.exe');
  app.port = await app.listening();
  await desktop.main({ text: /^Vornelle \(v/, visible: true });
  await desktop.moveAside();
  await desktop.click(desktop.control(await desktop.main(), 103));
  const users = `${desktop.prefix}/drive_c/users`;
  const user = fs.readdirSync(users).find((name) => name !== 'Public');
  const link = `${users}/${user}/AppData/Roaming/Microsoft/Windows/Start Menu/Programs/StartUp/Vornelle.lnk`;
  await until(() => fs.existsSync(link), 'the shortcut');
  const { target } = await desktop.ask(`link ${windowsPath(link)}`);
  assert.equal(target.toLowerCase(), windowsPath(app.path('vornelle.exe')).toLowerCase());
});

test('The program runs from a folder with letters of Windows-1252 in its name', async () => {
  const app = await desktop.install({ folder: `${desktop.folder}/Vornelle für Zoë` });
  await desktop.run(app);
  assert.equal(app.events()[0], 'Creating spam subdirectory...');
  await desktop.clickMenu('Exit');
  await assertClosed(app);
});

test('The program file carries its version', async () => {
  const version = await desktop.ask(`version ${windowsPath(`${desktop.apps[0].folder}/vornelle.exe`)}`);
  assert.deepEqual(version, { file: [1, 0, 0, 0], product: '1.0.0' });
});
