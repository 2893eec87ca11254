// A screen with a window manager and a Wine of a test's own, the Windows program on it, and the hands and eyes of a
// person: mouse and keys through the X server, windows looked at with the probe (probe.cpp).
//
//   const desktop = await Desktop.start();
//   const app = await desktop.install({ settings: { POP_SERVER: '' } });
//   await desktop.run(app);
//   await desktop.clickMenu('Config');
//   const dialog = await desktop.window({ text: 'Config' });
//   await desktop.stop();

import { execFile, execFileSync, spawn } from 'node:child_process';
import crypto from 'node:crypto';
import fs from 'node:fs';
import path from 'node:path';
import readline from 'node:readline';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';

import { get, post } from '../support/bare_http.mjs';

import { freePort, keepChild, removeFolder, temporaryFolder, until } from '../support/tools.mjs';

const repository = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '..', '..');
const execute = promisify(execFile);
export const WINE = ['/usr/lib/wine/wine64', '/usr/bin/wine64', '/usr/bin/wine'].find((name) => fs.existsSync(name));
const WINESERVER = ['/usr/lib/wine/wineserver64', '/usr/lib/wine/wineserver', '/usr/bin/wineserver']
  .find((name) => fs.existsSync(name));
export const wineProgram = WINE;
export const wineserverProgram = WINESERVER;
const PROBE = path.join(repository, 'build', 'windows', 'tests', 'desktop', 'desktop_probe.exe');
const BROWSER = path.join(repository, 'build', 'windows', 'tests', 'desktop', 'desktop_browser.exe');
export const PROGRAM_FOLDER = path.join(repository, 'dist', 'windows');
const BASE_PREFIX = path.join(repository, 'build', 'wine-prefix');

const DOUBLE_CLICK = 600;  // a little more than the system's own limit in milliseconds

// Nothing is asked for and nothing is fetched; no menus of the real user's are touched.
const OVERRIDES = 'mscoree=d;mshtml=d;winemenubuilder.exe=d';

// What a process has used of the processor, in hundredths of a second.
export function processorTicks(pid) {
  const fields = fs.readFileSync(`/proc/${pid}/stat`, 'utf8').split(') ')[1].split(' ');
  return Number(fields[11]) + Number(fields[12]);
}

export const windowsPath = (name) => 'Z:' + name.replaceAll('/', '\\');

// scratch: a folder for what Wine's server keeps while it runs and leaves behind.
function wineEnvironment(prefix, display, scratch) {
  return {
    ...process.env,
    WINEPREFIX: prefix,
    TMPDIR: scratch,
    WINEDEBUG: process.env.WINEDEBUG ?? '-all',
    WINEDLLOVERRIDES: OVERRIDES,
    DISPLAY: display,
    LC_ALL: 'C.UTF-8',
    TZ: 'UTC',
    // The login page asks for an announcement. Tests stay on this machine: a proxy that refuses answers at once.
    http_proxy: 'http://127.0.0.1:1/',
  };
}

async function startDisplay() {
  const server = keepChild(spawn('Xvfb', ['-displayfd', '3', '-screen', '0', '1280x1000x24', '-nolisten', 'tcp'],
    { stdio: ['ignore', 'ignore', 'ignore', 'pipe'] }));
  let said = '';
  server.stdio[3].on('data', (data) => { said += data; });
  await until(() => said.endsWith('\n'), 'the X server', 20000);
  return { server, display: `:${said.trim()}` };
}

// Making a prefix takes long, so it is made once; every test gets links to its files and registry files of its own.
async function basePrefix(display) {
  const lock = `${BASE_PREFIX}.lock`;
  fs.mkdirSync(path.dirname(BASE_PREFIX), { recursive: true });
  await until(() => {
    if (fs.existsSync(path.join(BASE_PREFIX, 'complete'))) return true;
    try {
      fs.writeFileSync(lock, String(process.pid), { flag: 'wx' });
      return true;
    } catch {
      const owner = Number(fs.readFileSync(lock, 'utf8'));
      if (owner && !fs.existsSync(`/proc/${owner}`)) fs.rmSync(lock, { force: true });
      return false;
    }
  }, 'the Wine prefix', 200000);
  if (!fs.existsSync(path.join(BASE_PREFIX, 'complete'))) {
    fs.rmSync(BASE_PREFIX, { recursive: true, force: true });
    const scratch = temporaryFolder('wine');
    const env = wineEnvironment(BASE_PREFIX, display, scratch);
    await execute(WINE, ['wineboot', '-u'], { env, timeout: 180000 });
    await execute(WINESERVER, ['-w'], { env, timeout: 60000 });
    removeFolder(scratch);
    fs.writeFileSync(path.join(BASE_PREFIX, 'complete'), '');
    fs.rmSync(lock, { force: true });
  }
  return BASE_PREFIX;
}

// A prefix below the folder that shares the base's files, with registry files of its own.
async function ownPrefix(folder, display) {
  const base = await basePrefix(display);
  const prefix = path.join(folder, 'prefix');
  execFileSync('cp', ['-as', base, prefix]);
  // Where the base's server had its scratch folder.
  fs.rmSync(path.join(prefix, 'wineserver'), { force: true });
  // Drives are links already; links to them would lead into the base.
  fs.rmSync(path.join(prefix, 'dosdevices'), { recursive: true });
  fs.mkdirSync(path.join(prefix, 'dosdevices'));
  fs.symlinkSync('../drive_c', path.join(prefix, 'dosdevices', 'c:'));
  fs.symlinkSync('/', path.join(prefix, 'dosdevices', 'z:'));
  for (const name of ['system.reg', 'user.reg', 'userdef.reg', '.update-timestamp']) {
    fs.rmSync(path.join(prefix, name), { force: true });
    fs.copyFileSync(path.join(base, name), path.join(prefix, name));
  }
  return prefix;
}

// Adds a value to the registry file of a Wine that is not running.
function setRegistry(prefix, hive, key, name, value) {
  const file = path.join(prefix, hive);
  const line = `${name === '' ? '@' : `"${name}"`}=${value}`;
  fs.appendFileSync(file, `\n[${key.replaceAll('\\', '\\\\')}] 1700000000\n${line}\n`);
}

// Chinese, Japanese and Korean letters come from the font that script/setup installs. Wine looks for those of Windows, each
// script in its own way: Korean in what is linked to the window's font, the others (by the tags "hani" and "kana") in one that
// stands in for it.
function linkFonts(prefix) {
  const font = 'WenQuanYi Zen Hei';
  setRegistry(prefix, 'system.reg', 'Software\\Microsoft\\Windows NT\\CurrentVersion\\FontLink\\SystemLink', 'DejaVu Sans',
    `str(7):"wqy-zenhei.ttc,${font}\\0"`);
  for (const tag of ['696e6168', '616e616b']) setRegistry(prefix, 'user.reg', 'Software\\Wine\\Uniscribe\\Fallback', tag, `"${font}"`);
}

// An authority (its certificate in DER) that this Wine trusts beside those of the machine.
export function trustAuthority(prefix, der) {
  const word = (value) => { const bytes = Buffer.alloc(4); bytes.writeUInt32LE(value); return bytes; };
  const blob = Buffer.concat([word(32), word(1), word(der.length), der]);
  const name = crypto.createHash('sha1').update(der).digest('hex').toUpperCase();
  setRegistry(prefix, 'user.reg', `Software\\Microsoft\\SystemCertificates\\Root\\Certificates\\${name}`, 'Blob',
    'hex:' + blob.toString('hex').replace(/..(?=.)/g, '$&,'));
}

// A Wine for programs that are started, run and end by themselves. `variables` go into their environment, `authority` (DER)
// among the trusted ones.
export class WineRun {
  static async start(variables = {}, { authority } = {}) {
    if (!WINE || !WINESERVER) throw new Error('There is no Wine: script/setup installs it.');
    const wine = new WineRun();
    const { server, display } = await startDisplay();
    wine.server = server;
    wine.folder = temporaryFolder('wine');
    wine.env = { ...wineEnvironment(await ownPrefix(wine.folder, display), display, wine.folder), ...variables };
    if (authority) trustAuthority(wine.env.WINEPREFIX, authority);
    return wine;
  }

  async stop() {
    await execute(WINESERVER, ['-k'], { env: this.env }).catch(() => {});
    this.server.kill();
    removeFolder(this.folder);
  }
}

// A running probe, asked one question at a time. A window that does not answer holds it up.
class Probe {
  constructor(env) {
    this.child = keepChild(spawn(WINE, [PROBE], { env, stdio: ['pipe', 'pipe', 'ignore'] }));
    this.answers = readline.createInterface({ input: this.child.stdout })[Symbol.asyncIterator]();
    this.asking = Promise.resolve();
  }

  ask(question) {
    this.asking = this.asking.then(async () => {
      this.child.stdin.write(question + '\n');
      const { value, done } = await this.answers.next();
      if (done) throw new Error('The probe has ended.');
      return JSON.parse(value);
    });
    return this.asking;
  }
}

export class Desktop {
  // authority (DER): is among the trusted ones.
  static async start({ dpi = 96, authority } = {}) {
    const desktop = new Desktop();
    await desktop.#start(dpi, authority);
    return desktop;
  }

  async #start(dpi, authority) {
    if (!WINE || !WINESERVER) throw new Error('There is no Wine: script/setup installs it.');
    if (!fs.existsSync(PROBE)) throw new Error(`There is no ${PROBE}: script/build windows makes it.`);
    const { server, display } = await startDisplay();
    this.server = server;
    this.apps = [];
    this.folder = temporaryFolder('desktop');
    this.prefix = await ownPrefix(this.folder, display);
    this.env = wineEnvironment(this.prefix, display, this.folder);
    if (dpi !== 96) setRegistry(this.prefix, 'user.reg', 'Control Panel\\Desktop', 'LogPixels', 
      `dword:${dpi.toString(16).padStart(8, '0')}`);
    if (authority) trustAuthority(this.prefix, authority);
    this.#registerBrowser();
    linkFonts(this.prefix);
    this.manager = keepChild(spawn('openbox', [], { env: this.env, stdio: 'ignore' }));
    this.probe = new Probe(this.env);
    // Once it has answered, Wine's server runs. Two programs that start together in a new prefix would each start one.
    await this.windows();
    this.ender = new Probe(this.env);
  }

  // The test's own browser: it notes what it is started with.
  #registerBrowser() {
    this.opened = path.join(this.folder, 'opened.txt');
    const command = `\\"${windowsPath(BROWSER)}\\" \\"${windowsPath(this.opened)}\\" \\"%1\\"`;
    setRegistry(this.prefix, 'system.reg', 'Software\\Classes\\http', 'URL Protocol', '""');
    setRegistry(this.prefix, 'system.reg', 'Software\\Classes\\http\\shell\\open\\command', '',
      `"${command.replaceAll('\\', '\\\\').replaceAll('\\\\"', '\\"')}"`);
  }

  async stop() {
    for (const app of this.apps) await app.stop();
    for (const probe of [this.probe, this.ender]) probe.child.stdin.end();
    await execute(WINESERVER, ['-k'], { env: this.env }).catch(() => {});
    this.manager.kill();
    this.server.kill();
    removeFolder(this.folder);
  }

  // Its programs no longer keep the test process from ending; they are ended with it.
  letGo() {
    for (const child of [this.server, this.manager, this.probe.child, this.ender.child]) {
      child.unref();
      for (const pipe of child.stdio) pipe?.unref?.();
    }
  }

  // ---- eyes ----

  ask(question) { return this.probe.ask(question); }

  windows() { return this.ask('windows'); }

  // The first window that fits, as soon as there is one. wanted: text, class, pid, visible (true unless given).
  async window(wanted, milliseconds = 15000) {
    const fits = (window) => Object.entries({ visible: true, ...wanted }).every(([key, value]) =>
      value === undefined || (value instanceof RegExp ? value.test(window[key]) : window[key] === value));
    return await until(async () => (await this.windows()).find(fits), `a window ${JSON.stringify(wanted)}`, milliseconds);
  }

  async gone(window, milliseconds = 15000) {
    await until(async () => !(await this.windows()).some((other) => other.handle === window.handle && other.visible),
      `the end of "${window.text}"`, milliseconds);
  }

  // The main window, visible or not.
  main(wanted = {}) { return this.window({ class: 'VornelleForm1', visible: undefined, ...wanted }); }
  dialog(title, milliseconds) { return this.window({ class: '#32770', text: title }, milliseconds); }

  // A message box with the program's name as its title: its text.
  async messageBox(milliseconds) {
    const box = await until(async () => (await this.windows()).find((window) => window.class === '#32770' &&
      window.text === 'Vornelle' && window.children.some((child) => child.class === 'Static' && child.text)),
    'a message box', milliseconds ?? 15000);
    return { ...box, message: box.children.filter((child) => child.class === 'Static').map((child) => child.text).join('') };
  }

  control(window, wanted) {
    const found = window.children.find((child) => typeof wanted === 'number' ? child.id === wanted : child.text === wanted);
    if (!found) throw new Error(`no control ${wanted} in "${window.text}"`);
    return found;
  }

  // The whole text of the log box.
  async logText() {
    const main = await this.main();
    return await this.ask(`text ${this.control(main, 107).handle}`);
  }

  // The screen as a picture.
  async screenshot(file, area) {
    fs.mkdirSync(path.dirname(file), { recursive: true });
    const [left, top, right, bottom] = area;
    await execute('import', ['-window', 'root', '-crop', `${right - left}x${bottom - top}+${left}+${top}`, '+repage', file],
      { env: this.env });
  }

  // ---- hands ----

  async xdotool(...args) { return (await execute('xdotool', args.map(String), { env: this.env })).stdout; }

  async clickAt(x, y, button = 1) {
    // Two clicks in a row on the same place would be a double click.
    const { last } = this;
    if (last && Math.abs(last.x - x) < 10 && Math.abs(last.y - y) < 10) {
      const wait = last.time + DOUBLE_CLICK - Date.now();
      if (wait > 0) await new Promise((resolve) => setTimeout(resolve, wait));
    }
    await this.xdotool('mousemove', x, y, 'click', button);
    this.last = { x, y, time: Date.now() };
  }

  async click(control, button) {
    const [left, top, right, bottom] = control.rect;
    await this.clickAt(Math.round((left + right) / 2), Math.round((top + bottom) / 2), button);
  }

  async clickMenu(text) {
    const main = await this.main();
    const entry = (await this.menu(main)).find((item) => item.text === text);
    if (!entry) throw new Error(`no menu entry ${text}`);
    await this.click(entry);
  }

  // The entries of the menu bar with their places. Wine tells no menus of other processes, so the entries come from the
  // program file's resources and their widths from the system's menu font.
  async menu(main) {
    return await this.ask(`menu ${main.handle} ${windowsPath(path.join(PROGRAM_FOLDER, 'vornelle.exe'))}`);
  }

  // The dialog that the menu entry opens.
  async openDialog(entry, title) {
    const find = async () => (await this.windows()).find((window) => window.class === '#32770' && window.text === title);
    return await this.insist(async () => { if (!(await find())) await this.clickMenu(entry); }, find, `the dialog ${title}`);
  }

  async hover(control) {
    const [left, top, right, bottom] = control.rect;
    await this.xdotool('mousemove', Math.round((left + right) / 2) - 3, Math.round((top + bottom) / 2),
      'sleep', '0.1', 'mousemove_relative', '--', '2', '0');
  }

  async key(...keys) { await this.xdotool('key', '--clearmodifiers', ...keys); }
  async type(text) { await this.xdotool('type', '--delay', '8', '--clearmodifiers', text); }

  // Puts the text in the place of what the box holds.
  async fill(box, text) {
    await this.insist(async () => {
      await this.click(box);
      await this.key('ctrl+a');
      await (text === '' ? this.key('Delete') : this.type(text));
    }, async () => (await this.ask(`text ${box.handle}`)) === text, `"${text}" in the box`);
  }

  // Does it until the condition holds. On a busy machine a click can come before the window that it is meant for has
  // found its place.
  async insist(action, condition, what) {
    for (let tries = 1; ; tries++) {
      await action();
      try {
        return await until(condition, what, 3000);
      } catch (error) {
        if (tries === 5) throw error;
      }
    }
  }

  // Waits for a message box, checks nothing, presses its button; its text.
  async answerBox(milliseconds) {
    const box = await this.messageBox(milliseconds);
    const now = async () => (await this.windows()).find((window) => window.handle === box.handle);
    await this.insist(async () => {
      const button = (await now())?.children.find((child) => child.class === 'Button');
      if (button) await this.click(button);
    }, async () => !(await now()), `the end of "${box.message}"`);
    return box.message;
  }

  // The main window's minimise button; the program then hides it.
  async minimize() {
    await this.insist(async () => { await this.xdotool('windowminimize', await this.mainXid()); },
      async () => !(await this.main()).visible, 'the hidden window');
  }

  // The icon's click that brings the main window back.
  async restore() {
    await this.insist(() => this.clickIcon(), async () => {
      const main = await this.main();
      return main.visible && !main.iconic;
    }, 'the window');
  }

  // The window of Wine's that stands in for a notification area.
  async clickIcon(button = 1) {
    const found = await until(() => this.xdotool('search', '--onlyvisible', '--name', 'Wine System Tray').catch(() => ''),
      'the notification area');
    const tray = found.trim().split('\n')[0];
    // A window that covers it lets it to the front a moment later.
    await until(async () => {
      await this.xdotool('windowraise', tray, 'mousemove', '--window', tray, 10, 10);
      // What lies under the pointer is the frame of the tray, which is as narrow, or a window that is not.
      const [, under] = /WINDOW=(\d+)/.exec(await this.xdotool('getmouselocation', '--shell'));
      return Number(/WIDTH=(\d+)/.exec(await this.xdotool('getwindowgeometry', '--shell', under))[1]) < 250;
    }, 'the notification area in front');
    await this.xdotool('click', button);
  }

  // The main window's number in the X server.
  // The window is there before it has its title.
  async mainXid() {
    const found = await until(() => this.xdotool('search', '--name', '^Vornelle \\(v').catch(() => ''), 'the main window');
    return found.trim().split('\n')[0];
  }

  // The main window gets the keys.
  async activate() {
    await this.insist(async () => { await this.xdotool('windowactivate', await this.mainXid()); },
      async () => (await this.main()).foreground && Number(await this.xdotool('getactivewindow')) === Number(await this.mainXid()),
      'the main window in front');
  }

  // Away from the window that stands in for the notification area.
  async moveAside() {
    await this.xdotool('windowmove', await this.mainXid(), 200, 150);
    await until(async () => (await this.main()).rect[0] > 150, 'the moved window');
  }

  // ---- programs ----

  // Ends a process at once, even while its windows answer nobody.
  async end(pid) { return await this.ender.ask(`end ${pid}`); }

  async install(options) {
    const app = await WindowsApplication.create(this, options);
    this.apps.push(app);
    return app;
  }

  // Starts the program and waits until it listens.
  async run(app, options) {
    app.launch();
    if (options?.listens === false) return app;
    app.port = await app.listening();
    const main = await this.main({ text: /^Vornelle \(v/, pid: undefined });
    if (main.visible) await this.moveAside();
    return app;
  }
}

const SETTINGS = { EMAIL_ADDRESS: 'joe@home.example', POP_ACCOUNT: 'joe', POP_PASSWORD: 'secret', TEST_MODE: 'FALSE' };

// An application folder with the Windows program in it.
export class WindowsApplication {
  static async create(desktop, { settings, lists, files, folder } = {}) {
    const app = new WindowsApplication();
    app.desktop = desktop;
    app.folder = folder ?? path.join(desktop.folder, `application-${desktop.apps.length + 1}`);
    fs.cpSync(PROGRAM_FOLDER, app.folder, { recursive: true });
    app.wantedPort = await freePort();
    if (settings !== null) {
      const all = { ...SETTINGS, HTTP_PORT_CFG: app.wantedPort, ...settings };
      app.write('Vornelle.ini', Object.entries(all).map(([key, value]) => `${key}=${value}\r\n`).join(''));
    }
    for (const [name, entries] of Object.entries({ friendlist: ['@friend.example'], ...lists })) {
      app.write(`data/${name}.txt`, entries.map((entry) => entry + '\r\n').join(''));
    }
    for (const [name, content] of Object.entries(files ?? {})) app.write(name, content);
    app.sessionId = '';
    return app;
  }

  launch(program = 'vornelle.exe') {
    this.ended = null;
    this.child = keepChild(spawn(WINE, [`./${program}`], { cwd: this.folder, env: this.desktop.env, stdio: 'ignore' }));
    this.child.once('exit', (code, signal) => { this.ended = { code, signal }; });
  }

  // The port that the banner in the log box tells.
  async listening() {
    const found = await until(async () => {
      if (this.ended) throw new Error(`The program ended: ${JSON.stringify(this.ended)}\n${this.log()}`);
      const main = (await this.desktop.windows()).find((window) => window.class === 'VornelleForm1');
      const box = main?.children.find((child) => child.id === 107);
      return box && /use the address: http:\/\/localhost:(\d+)/.exec(box.text);
    }, 'the banner', 30000);
    return Number(found[1]);
  }

  path(name) { return path.join(this.folder, name); }
  exists(name) { return fs.existsSync(this.path(name)); }
  read(name) { return fs.readFileSync(this.path(name), 'latin1'); }
  write(name, content) { fs.writeFileSync(this.path(name), Buffer.isBuffer(content) ? content : Buffer.from(content, 'latin1')); }
  log() { return this.exists('Vornelle.log') ? this.read('Vornelle.log') : ''; }
  events() { return this.log().split('\r\n').slice(0, -1).map((line) => line.replace(/^\[[^\]]*\] /, '')); }
  // The settings file as { KEY: value }.
  settings() {
    return Object.fromEntries(this.read('Vornelle.ini').split('\r\n').slice(0, -1).map((line) => {
      const at = line.indexOf('=');
      return [line.slice(0, at), line.slice(at + 1)];
    }));
  }

  get(target, options) { return get(this.port, target.replace('{s}', this.sessionId), options); }
  post(target, fields, options) { return post(this.port, target.replace('{s}', this.sessionId), fields, options); }
  async login(account = 'joe', password = 'secret') {
    const page = await this.post('/login.cgi', { POP_ACCOUNT: account, POP_PASSWORD: password, SUBMIT: 'Login' });
    const found = /displaySpambox\.htm\?s=([A-Z]{64})/.exec(page);
    if (!found) throw new Error(`no session in: ${page}`);
    this.sessionId = found[1];
  }

  async event(text, milliseconds = 15000) {
    await until(() => this.events().some((event) => text instanceof RegExp ? text.test(event) : event === text),
      `the event ${text}`, milliseconds);
  }

  async end(milliseconds = 20000) { return await until(() => this.ended, 'the end of the program', milliseconds); }

  // Through Wine: its server does not always survive it when a program with sockets is killed from outside.
  async stop() {
    if (!this.child || this.ended) return;
    const own = windowsPath(this.folder).toLowerCase();
    const drive = own.replace(/.*\\drive_c\\/, 'c:\\');
    for (const { class: kind, program, pid } of await this.desktop.windows()) {
      if (kind !== 'VornelleForm1') continue;
      if ([own, drive].some((folder) => program.toLowerCase().startsWith(folder + '\\'))) await this.desktop.end(pid);
    }
    await this.end().catch(() => this.child.kill('SIGKILL'));
  }
}
