// The release files: the installer in silent mode and by hand, and what the archives hold.

import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import crypto from 'node:crypto';
import fs from 'node:fs';
import path from 'node:path';
import { after, afterEach, before, test } from 'node:test';

import { repository } from '../support/launcher.mjs';
import { freePort, keepChild, until } from '../support/tools.mjs';
import { Desktop, WindowsApplication, windowsPath, wineProgram } from './wine.mjs';

const packages = path.join(repository, 'build', 'package');
const named = (pattern) => path.join(packages, fs.readdirSync(packages).find((name) => pattern.test(name)));
const guidePictures = fs.readdirSync(path.join(repository, 'docs', 'guide')).map((name) => `data/guide/${name}`);
let desktop;
let app;      // the installed program
let startMenu;

before(async () => {
  execFileSync(path.join(repository, 'script', 'package'), ['--no-build'], { stdio: 'ignore' });
  desktop = await Desktop.start();
  const users = `${desktop.prefix}/drive_c/users`;
  const user = `${users}/${fs.readdirSync(users).find((name) => name !== 'Public')}`;
  startMenu = `${user}/AppData/Roaming/Microsoft/Windows/Start Menu/Programs`;
  app = new WindowsApplication();
  Object.assign(app, { desktop, folder: `${user}/AppData/Local/Programs/Vornelle`, sessionId: '' });
  desktop.apps.push(app);
});
after(async () => { await desktop?.stop(); });
afterEach(async () => { await app?.stop(); });

// Runs a Windows program to its end; its exit code.
async function run(file, ...args) {
  const child = keepChild(spawn(wineProgram, [file, ...args], { env: desktop.env, stdio: 'ignore' }));
  return await new Promise((resolve, reject) => {
    const timer = setTimeout(() => { child.kill('SIGKILL'); reject(new Error(`${path.basename(file)} does not end`)); }, 60000);
    child.once('exit', (code) => { clearTimeout(timer); resolve(code); });
  });
}
const install = (...args) => run(named(/setup\.exe$/), '/S', ...args);
const link = async (file) => (await desktop.ask(`link ${windowsPath(file)}`)).target.toLowerCase();

test('The checksums are those of the files', () => {
  const lines = fs.readFileSync(path.join(packages, 'SHA256SUMS'), 'utf8').trim().split('\n');
  assert.equal(lines.length, 4);
  for (const line of lines) {
    const [sum, name] = line.split(/\s+/);
    assert.equal(crypto.createHash('sha256').update(fs.readFileSync(path.join(packages, name))).digest('hex'), sum);
  }
});

test('The symbols of both programs lie beside the packages and tell functions and lines', () => {
  execFileSync('tar', ['-xzf', named(/symbols\.tar\.gz$/), '-C', desktop.folder]);
  for (const [program, file, nm, addr2line] of [
    ['dist/linux/vornelle', 'vornelle.debug', 'nm', 'addr2line'],
    ['dist/windows/vornelle.exe', 'vornelle.exe.debug', 'x86_64-w64-mingw32-nm', 'x86_64-w64-mingw32-addr2line'],
  ]) {
    assert.ok(fs.readFileSync(path.join(repository, program), 'latin1').includes(`${file}\0`), `${program} does not name ${file}`);
    const symbols = path.join(desktop.folder, file);
    const names = execFileSync(nm, ['-C', symbols], { encoding: 'utf8', maxBuffer: 1 << 28 });
    const [, address] = /^([0-9a-f]+) [Tt] vornelle::LogWindowAdd\(/m.exec(names);
    assert.match(execFileSync(addr2line, ['-e', symbols, address], { encoding: 'utf8' }), /core\/event_log\.cpp:\d+/);
  }
});

test('The archives hold one application folder with program, data and guide, and nothing for developers', () => {
  const zip = execFileSync('unzip', ['-Z1', named(/\.zip$/)], { encoding: 'utf8' }).trim().split('\n');
  const tar = execFileSync('tar', ['-tzf', named(/linux.*\.tar\.gz$/)], { encoding: 'utf8' }).trim().split('\n');
  const all = (...names) => ['data/top.inc', 'data/login.htm', 'data/vornelle.ico', 'data/guide.htm', ...guidePictures, ...names];
  for (const name of all('vornelle.exe', 'Read me.txt')) {
    assert.ok(zip.includes(`Vornelle/${name}`), `no ${name} in the zip`);
  }
  for (const name of all('vornelle', 'README')) {
    assert.ok(tar.some((entry) => entry.replace(/^vornelle-[0-9.]+\//, '') === name), `no ${name} in the tarball`);
  }
  for (const name of [...zip, ...tar]) assert.doesNotMatch(name, /\.(md|json|png|svg)$|\/docs\//);
});

test('A silent installation puts the program into the user\'s programs, with a Start menu entry and no autostart', async () => {
  assert.equal(await install(), 0);
  for (const name of ['vornelle.exe', 'uninstall.exe', 'data/top.inc', 'data/friendlist.txt', 'data/guide.htm', ...guidePictures]) {
    assert.ok(app.exists(name), `no ${name}`);
  }
  assert.ok(!app.exists('docs'), 'documents for developers');
  assert.match(await link(`${startMenu}/Vornelle.lnk`), /\\programs\\vornelle\\vornelle\.exe$/);
  assert.match(await link(`${startMenu}/Vornelle guide.lnk`), /\\programs\\vornelle\\data\\guide\.htm$/);
  assert.ok(!fs.existsSync(`${startMenu}/StartUp/Vornelle.lnk`));
});

test('The installed program runs, and while it runs it is neither replaced nor removed', async () => {
  app.write('Vornelle.ini', `HTTP_PORT_CFG=${await freePort()}\r\nPOP_ACCOUNT=mine\r\n`);
  app.write('data/friendlist.txt', '@friend.example\r\n');
  await desktop.run(app);
  fs.writeFileSync(app.path('spam/kept.txt'), 'Subject: kept\r\n\r\n');
  const program = fs.readFileSync(app.path('vornelle.exe'));
  assert.equal(await install(), 2);
  assert.equal(await run(app.path('uninstall.exe'), '/S', `_?=${(await installedFolder())}`), 2);
  assert.ok(program.equals(fs.readFileSync(app.path('vornelle.exe'))));
  assert.match(await app.get('/'), /<form/i);
  assert.ok(app.exists('message.txt'), 'the login page has asked for an announcement');
  await desktop.clickMenu('Exit');
  await app.end();
});

const installedFolder = async () => windowsPath(app.folder).replace(/.*\\drive_c\\/, 'C:\\');

test('An installation over an older one keeps settings, lists and saved spam, and replaces the program', async () => {
  const settings = app.read('Vornelle.ini');
  const size = fs.statSync(app.path('vornelle.exe')).size;
  fs.writeFileSync(app.path('vornelle.exe'), 'an older one');
  fs.mkdirSync(app.path('docs'));
  for (const name of ['docs/security.md', 'docs/guide.html', 'docs/notes.md', 'data/guide/older.webp']) app.write(name, 'older');
  assert.equal(await install('/AUTOSTART'), 0);
  assert.equal(fs.statSync(app.path('vornelle.exe')).size, size);
  assert.equal(app.read('Vornelle.ini'), settings);
  assert.match(settings, /POP_ACCOUNT=mine/);
  assert.equal(app.read('data/friendlist.txt'), '@friend.example\r\n');
  assert.ok(app.exists('spam/kept.txt'));
  assert.deepEqual(fs.readdirSync(app.path('docs')), ['notes.md'], 'what an older version installed goes, what is the user\'s own stays');
  assert.deepEqual(fs.readdirSync(app.path('data/guide')).map((name) => `data/guide/${name}`).sort(), [...guidePictures].sort());
});

test('The autostart that the installer makes is the one that the box makes and shows', async () => {
  assert.match(await link(`${startMenu}/StartUp/Vornelle.lnk`), /\\programs\\vornelle\\vornelle\.exe$/);
  await desktop.run(app);
  assert.equal(desktop.control(await desktop.main(), 103).checked, true);
  const shortcut = `${startMenu}/StartUp/Vornelle.lnk`;
  const made = await desktop.ask(`link ${windowsPath(shortcut)}`);
  await desktop.click(desktop.control(await desktop.main(), 103));
  await until(() => !fs.existsSync(shortcut), 'the end of the shortcut');
  await desktop.click(desktop.control(await desktop.main(), 103));
  await until(() => fs.existsSync(shortcut), 'the shortcut again');
  const again = await until(async () => { const now = await desktop.ask(`link ${windowsPath(shortcut)}`); return now.target && now; }, 'its target');
  assert.deepEqual(again, made);
  assert.equal(made.arguments, '');
  await desktop.clickMenu('Exit');
  await app.end();
});

test('A silent removal takes the program and leaves what is the user\'s own', async () => {
  app.write('data/guide/notes.md', 'mine');
  app.write('data/own.inc', 'mine');
  await run(app.path('uninstall.exe'), '/S');
  await until(() => !app.exists('uninstall.exe'), 'the removal', 30000);
  for (const name of ['vornelle.exe', 'data/top.inc', 'data/guide.htm', 'message.txt']) {
    assert.ok(!app.exists(name), `${name} is left`);
  }
  assert.deepEqual(fs.readdirSync(app.path('docs')), ['notes.md']);
  assert.deepEqual(fs.readdirSync(app.path('data/guide')), ['notes.md']);
  assert.ok(app.exists('data/own.inc'));
  fs.rmSync(app.path('docs'), { recursive: true });
  fs.rmSync(app.path('data/guide/notes.md'));
  fs.rmSync(app.path('data/own.inc'));
  assert.ok(app.exists('Vornelle.ini') && app.exists('data/friendlist.txt') && app.exists('spam/kept.txt'));
  assert.ok(!fs.existsSync(`${startMenu}/Vornelle.lnk`) && !fs.existsSync(`${startMenu}/Vornelle guide.lnk`) && !fs.existsSync(`${startMenu}/StartUp/Vornelle.lnk`));
});

test('A removal by hand asks for settings, lists and spam, and takes them only on Yes', async () => {
  assert.equal(await install(), 0);
  app.write('tls-certificates.txt', 'accepted');
  const removal = run(app.path('uninstall.exe'), `_?=${await installedFolder()}`);
  const wizard = await desktop.window({ class: '#32770', text: /Vornelle.*Uninstall/ }, 30000);
  await desktop.click(desktop.control(wizard, '&Uninstall'));
  const question = await until(async () => (await desktop.windows()).find((window) => window.class === '#32770' &&
    window.children.some((child) => /Remove your settings, your lists and the saved spam, too\?/.test(child.text))), 'the question', 30000);
  assert.ok(app.exists('Vornelle.ini'));
  await desktop.click(question.children.find((child) => child.class === 'Button' && /Yes/.test(child.text)));
  await until(() => !app.exists('Vornelle.ini') && !app.exists('data/friendlist.txt') && !app.exists('spam'), 'the removal', 30000);
  const done = await until(async () => (await desktop.windows()).find((window) => /Vornelle.*Uninstall/.test(window.text) &&
    window.children.some((child) => child.text === '&Close' && child.enabled)), 'the end of the removal', 30000);
  await desktop.click(desktop.control(done, '&Close'));
  await removal;
  // A removal that is started with its folder named cannot remove its own file.
  assert.deepEqual(fs.existsSync(app.folder) ? fs.readdirSync(app.folder).filter((name) => name !== 'uninstall.exe') : [], []);
});
