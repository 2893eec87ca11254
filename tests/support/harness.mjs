// The program in an application folder of a test's own: started, talked to over the plain wire, looked at through its
// files, and ended.
//
//   const app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}` },
//                                         lists: { friendlist: ['@example.com'] } });
//   await app.login();
//   await app.filterMail();
//   assert.match(app.log(), /Mail filtered: /);
//   await app.stop();

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';

import { get, post } from './bare_http.mjs';
import { install, launch } from './launcher.mjs';
import { freePort, removeFolder, temporaryFolder, until } from './tools.mjs';

const SETTINGS = {
  EMAIL_ADDRESS: 'joe@home.example',
  POP_ACCOUNT: 'joe',
  POP_PASSWORD: 'secret',
  TEST_MODE: 'FALSE',
};

export class Application {
  // An application folder with the program in it, not started yet.
  // options: settings (KEY: value; null leaves the whole file out), lists (name: entries), files (path: content)
  static async create(options = {}) {
    const app = new Application();
    app.folder = temporaryFolder('application');
    app.sessionId = '';
    install(app.folder);
    if (options.settings !== null) {
      const settings = { ...SETTINGS, HTTP_PORT_CFG: await freePort(), ...options.settings };
      app.write('Vornelle.ini', Object.entries(settings).map(([key, value]) => `${key}=${value}\r\n`).join(''));
    }
    for (const [name, entries] of Object.entries({ friendlist: ['@friend.example'], ...options.lists })) {
      app.write(`data/${name}.txt`, entries.map((entry) => entry + '\r\n').join(''));
    }
    for (const [name, content] of Object.entries(options.files ?? {})) app.write(name, content);
    return app;
  }

  static async start(options = {}) {
    const app = await Application.create(options);
    try {
      await app.run(options.environment, options.shell);
    } catch (error) {
      await app.stop();
      throw error;
    }
    return app;
  }

  // Starts the program in the folder and waits until it says where it listens.
  async run(environment, shell) {
    this.process = launch(this.folder, environment, shell);
    this.port = await this.process.port();
  }

  // Files of the application folder.
  path(name) { return path.join(this.folder, name); }
  exists(name) { return fs.existsSync(this.path(name)); }
  read(name) { return fs.readFileSync(this.path(name), 'latin1'); }
  write(name, content) {
    fs.writeFileSync(this.path(name), Buffer.isBuffer(content) ? content : Buffer.from(content, 'latin1'));
  }

  remove(name) { fs.rmSync(this.path(name)); }

  // The event log as a text, and its lines without their time stamps.
  log() { return this.exists('Vornelle.log') ? this.read('Vornelle.log') : ''; }
  events() { return this.log().split('\r\n').slice(0, -1).map((line) => line.replace(/^\[[^\]]*\] /, '')); }

  // What the SpamBox holds: { file name: Buffer }. A unique-id may make a name that is no UTF-8.
  spamBox() {
    const folder = Buffer.from(this.path('spam/'));
    const names = fs.readdirSync(folder, { encoding: 'buffer' });
    return Object.fromEntries(names.map((name) =>
      [name.toString('latin1'), fs.readFileSync(Buffer.concat([folder, name]))]));
  }

  // The plain wire. `path` may carry "{s}" for the live session id.
  get(target, options) { return get(this.port, target.replace('{s}', this.sessionId), options); }
  post(target, fields, options) { return post(this.port, target.replace('{s}', this.sessionId), fields, options); }

  async login(account = 'joe', password = 'secret') {
    const page = await this.post('/login.cgi', { POP_ACCOUNT: account, POP_PASSWORD: password, SUBMIT: 'Login' });
    const found = /window\.location='displaySpambox\.htm\?s=([A-Z]{64})'/.exec(page);
    assert.ok(found, `no session in: ${page}`);
    this.sessionId = found[1];
    return page;
  }

  // One filter run through the web interface; resolves with the run's last log line.
  async filterMail(options) {
    const before = this.events().length;
    const page = await this.get('/MAILFILTER.CGI?s={s}', { milliseconds: 180000, ...options });
    assert.ok(page.includes("window.location='displayspambox.htm?s="),
      `no redirect but: ${page}\n${JSON.stringify(this.process.ended)}\n${this.process.said()}\n${this.log()}`);
    return this.events().slice(before).find((event) => /^Mail filtered: |^\*\*Cannot log|^You need/.test(event));
  }

  async isServing() {
    return /<form/i.test(await this.get('/'));
  }

  // Ends the program like its window's close button; resolves with { code, signal }.
  async close() {
    this.process.close();
    return await this.ended();
  }

  async ended(milliseconds = 60000) {
    return await until(() => this.process.ended, 'the end of the program', milliseconds);
  }

  // Ends the program whatever its state, and removes its folder.
  async stop() {
    if (this.process && !this.process.ended) {
      this.process.kill();
      await this.ended();
    }
    removeFolder(this.folder);
  }
}

// Every message that was on the server before is there still, or is whole in the SpamBox: the promise of the program.
// messages: Buffers; left: what the server has now; app: the application after its run.
export function assertNothingLost(messages, left, app) {
  const key = (data) => Buffer.from(data).toString('latin1');
  const safe = new Set(left.map(key));
  for (const [name, data] of Object.entries(app.spamBox())) {
    // What a program that is killed was just writing: it has no name in the SpamBox yet.
    if (/^\.vornelle-.*\.tmp$/.test(name)) continue;
    assert.equal(data.subarray(-2).toString('latin1'), '\r\n');
    safe.add(key(data.subarray(0, -2)));
  }
  messages.forEach((message, index) =>
    assert.ok(safe.has(key(message)), `message ${index + 1} is neither on the server nor whole in the SpamBox`));
}
