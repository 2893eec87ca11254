// What script/pictures does: the program on the demo mailbox, looked at in Chromium and under Wine.
//
//   node tests/support/pictures.mjs [NAME...]
//
// The guide is installed with the program, so that each of its pictures has to be worth its bytes: they show parts of
// windows and are stored as WebP.

import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';

import { Browser } from './browsers.mjs';
import { demoFolder, makeDemoMaildrop } from './demo_maildrop.mjs';
import { Application } from './harness.mjs';
import { repository } from './launcher.mjs';
import { MailServer } from './mailserver.mjs';
import { removeFolder, temporaryFolder, until } from './tools.mjs';
import { Desktop } from '../desktop/wine.mjs';

const wanted = process.argv.slice(2);
const isWanted = (...names) => wanted.length === 0 || names.some((name) => wanted.includes(name));
const scratch = temporaryFolder('pictures');
const guide = path.join(repository, 'docs', 'guide.html');
const account = { user: 'wilma', password: 'marmalade' };

// The guide's pictures; the others are the front page's.
const GUIDE = ['spambox', 'welcome', 'friendlist', 'reader', 'main-window', 'import-dialog', 'settings-dialog'];

// Screens have few colours and sharp edges: in a palette and without loss they come out smaller than with it.
function keep(name, png) {
  const folder = path.join(repository, 'docs', GUIDE.includes(name) ? 'guide' : '');
  fs.mkdirSync(folder, { recursive: true });
  const file = path.join(folder, `${name}.webp`);
  execFileSync('convert', [png, '-strip', '-dither', 'None', '-colors', '48', '-define', 'webp:lossless=true', '-define', 'webp:method=6', file]);
  const [width, height] = execFileSync('identify', ['-format', '%w %h', file], { encoding: 'utf8' }).split(' ');
  fs.writeFileSync(guide, fs.readFileSync(guide, 'utf8').replace(new RegExp(`(src="guide/${name}\\.webp" width=")\\d+(" height=")\\d+`), `$1${width}$2${height}`));
  console.log(`${path.relative(repository, file)}  ${fs.statSync(file).size} bytes`);
}

const lists = Object.fromEntries(['friendlist', 'subjectlist', 'enemylist'].map((list) =>
  [list, fs.readFileSync(path.join(demoFolder, `${list}.txt`), 'latin1').split(/\r?\n/).filter(Boolean)]));

function settingsFor(server) {
  return {
    EMAIL_ADDRESS: 'wilma@home.example', POP_SERVER: `127.0.0.1:${server.popPort}`, POP_ACCOUNT: account.user,
    POP_PASSWORD: account.password, SMTP_SERVER: `127.0.0.1:${server.smtpPort}`, SMTP_USER: account.user,
    SMTP_PASSWORD: account.password, TEST_MODE: 'FALSE', ACTIVATE_START: 'TRUE', NEW_WINDOW: 'FALSE', MESSAGES_PER_PAGE: '30',
  };
}

async function pagePictures(server) {
  const app = await Application.start({ lists, settings: settingsFor(server) });
  const fresh = await Application.start({ lists: { friendlist: [] }, settings: { EMAIL_ADDRESS: '', POP_ACCOUNT: '', POP_PASSWORD: '', TEST_MODE: 'TRUE' } });
  const light = await Browser.open('chromium');
  const dark = await Browser.open('chromium', { dark: true });
  // The upper part of a window of this size. ready(user): what is done before.
  const take = async (name, { browser = light, program = app, width, height, scale = 1 }, ready) => {
    if (!isWanted(name)) return;
    const user = await browser.user(program, { viewport: { width, height }, deviceScaleFactor: scale });
    await ready(user);
    await user.page.mouse.move(0, 0);
    const png = path.join(scratch, `${name}.png`);
    await user.page.screenshot({ path: png });
    await user.close();
    keep(name, png);
  };
  const login = (user) => user.login(account.user, account.password);

  await app.login(account.user, account.password);
  await app.filterMail();
  await take('spambox', { width: 1120, height: 620 }, async (user) => {
    await login(user);
    await user.page.locator('input[name^="R"]').nth(2).check();
  });
  await take('friendlist', { width: 1120, height: 560 }, async (user) => { await login(user); await user.go('friendlist'); });
  await take('reader', { width: 1120, height: 620 }, async (user) => {
    await login(user);
    await user.page.locator('#boxes .subject a', { hasText: 'Your account has been' }).click();
    await user.page.waitForSelector('html[data-page="preview"]');
  });
  await take('spambox-phone', { width: 390, height: 760 }, login);
  await take('inbox-dark', { browser: dark, width: 1120, height: 620 }, async (user) => { await login(user); await user.go('inbox'); });
  await take('welcome', { program: fresh, width: 1120, height: 700 }, async (user) => {
    await user.open('/');
    await user.page.click('#login button');
    await user.shows('config');
    // A well-known provider, whose servers are offered.
    await user.page.fill('#EMAIL_ADDRESS', 'wilma.winterbottom@gmx.net');
    await user.page.waitForSelector('#provider button');
    await user.page.evaluate(() => document.querySelector('h1').scrollIntoView());
  });
  for (const one of [light, dark, app, fresh]) await (one.close ? one.close() : one.stop());
}

async function windowPictures(server) {
  const desktop = await Desktop.start({ dpi: 96 });
  const app = await desktop.install({ lists, settings: settingsFor(server) });
  await desktop.run(app);
  const FRAME = 3;  // the window manager's, round a window
  const take = async (name, window) => {
    // No tip beside the pointer.
    await desktop.xdotool('mousemove', 1270, 990);
    await until(async () => !(await desktop.windows()).some((one) => one.class === 'tooltips_class32' && one.visible), 'the end of the tip');
    const png = path.join(scratch, `${name}.png`);
    const [left, top, right, bottom] = window.rect;
    await desktop.screenshot(png, [left + FRAME, top + FRAME, right - FRAME, bottom - FRAME]);
    keep(name, png);
  };
  const main = await desktop.main({ visible: true });
  await desktop.click(desktop.control(main, 'Filter Mail'));
  await until(() => /Mail filtered/.test(app.log()), 'the filter run', 60000);
  await until(async () => /Mail filtered/.test(await desktop.logText()), 'its line');
  if (isWanted('main-window')) await take('main-window', await desktop.main({ visible: true }));
  if (isWanted('import-dialog')) {
    const dialog = await desktop.openDialog('Import', 'Import Addresses to FriendList');
    const list = dialog.children.find((child) => child.id === 306);
    await desktop.click(list);
    await desktop.type('rook@correspondence-chess.example\nedgar.finch@example.com\naunt.hedwig@home.example\n@observatory.example\n');
    await take('import-dialog', dialog);
    await desktop.key('Escape');
    await desktop.gone(dialog);
  }
  if (isWanted('settings-dialog')) {
    const dialog = await desktop.openDialog('Config', 'Config');
    // The test's servers have numbers for names.
    for (const [shown, instead] of [[`127.0.0.1:${server.popPort}`, 'pop.home.example:995'], [`127.0.0.1:${server.smtpPort}`, 'smtp.home.example:465'],
      [String(app.wantedPort), '7000']]) await desktop.fill(dialog.children.find((child) => child.text === shown), instead);
    await take('settings-dialog', dialog);
  }
  await desktop.stop();
}

const maildrop = path.join(scratch, 'maildrop');
if (isWanted('spambox', 'friendlist', 'reader', 'spambox-phone', 'inbox-dark', 'welcome')) {
  makeDemoMaildrop(maildrop);
  const server = await MailServer.start({ folder: maildrop, ...account });
  await pagePictures(server);
  await server.stop();
}
if (isWanted('main-window', 'import-dialog', 'settings-dialog')) {
  makeDemoMaildrop(maildrop);
  const server = await MailServer.start({ folder: maildrop, ...account });
  await windowPictures(server);
  await server.stop();
}
removeFolder(scratch);
process.exit(0);
