// People at browsers, for tests. Under ctest the files share the browsers of one keeper (browser_keeper.mjs).
//
//   inEachBrowser((userTest) => {
//     userTest('WhatPeopleSee', () => app, async (user) => {
//       await user.login();
//       ...
//     });
//   });
//
// VORNELLE_BROWSERS=firefox runs one of them only.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { after, before, describe, test } from 'node:test';

import { sharedBrowser } from './browser_keeper.mjs';
import { KINDS } from './browser_kinds.mjs';
import { repository } from './launcher.mjs';
import { until } from './tools.mjs';

const BROWSERS = (process.env.VORNELLE_BROWSERS ?? 'chromium,firefox').split(',');

// Each one has an address of its own for the gateway, so that both ways to it are walked.
const HOSTS = { chromium: 'localhost', firefox: '[::1]' };

const VIEWPORT = { width: 1280, height: 900 };

const PATIENCE = 30000;  // milliseconds until something that never comes is given up

const screenshots = path.join(repository, 'build', 'screenshots');

export class Browser {
  // options: dark, a browser that prefers dark pages on which nothing moves; own, one that is not shared, where a window has
  // to keep the focus: Firefox takes it away when somebody else opens another
  static async open(name, { dark = false, own = false } = {}) {
    const browser = new Browser();
    browser.name = name;
    browser.look = dark ? { colorScheme: 'dark', reducedMotion: 'reduce' } : {};
    const kind = KINDS[`${name} dark`] && dark ? `${name} dark` : name;
    browser.process = (!own && await sharedBrowser(kind))
      || await KINDS[kind].type.launch({ ...KINDS[kind].options, headless: true, timeout: 60000 });
    return browser;
  }

  // Somebody with a window of their own who knows nothing of other windows (no shared storage).
  // options: host (instead of the browser's own), and what playwright's newContext takes
  async user(app, { host = HOSTS[this.name], ...options } = {}) {
    const plain = Object.keys(options).length === 0;
    const window = plain && this.#left;
    if (window) {
      this.#left = null;
      return new User(this, app, window.context(), host, { window, plain });
    }
    const context = await this.process.newContext({ viewport: VIEWPORT, ...this.look, ...options });
    context.setDefaultTimeout(PATIENCE);
    context.setDefaultNavigationTimeout(PATIENCE);
    return new User(this, app, context, host, { window: await context.newPage(), plain });
  }

  // A window that its user has left as good as new: the next one may have it, which saves much of a short test's time.
  #left = null;
  takeBack(window) { this.#left = window; }

  async close() { await this.process.close(); }
}

// Tests that run in every browser, each with a user of its own. Where one fails there is a picture of what was seen.
// browserOptions: as for Browser.open
export function inEachBrowser(body, browserOptions) {
  for (const name of BROWSERS) {
    describe(name, () => {
      let browser;
      before(async () => { browser = await Browser.open(name, browserOptions); });
      after(() => browser?.close());
      body((title, app, work, options) => test(title, async () => {
        const user = await browser.user(app(), options);
        try {
          await work(user);
        } catch (error) {
          await user.picture(`failed-${title.replace(/\W+/g, '-')}`).catch(() => {});
          await user.close();
          throw error;
        }
        await user.leave();
      }), name);
    });
  }
}

export class User {
  #window;
  #plain;
  constructor(browser, app, context, host, { window, plain }) {
    this.browser = browser;
    this.app = app;
    this.context = context;
    this.origin = `http://${host}${app.port === 80 ? '' : `:${app.port}`}`;
    this.#window = window;
    this.#plain = plain;
    context.once('page', () => { this.#plain = false; });
    this.page = window;
    this.#watch(window);
  }

  // Another tab of the same window; the user's actions are done there from now on.
  async openTab() {
    this.page = await this.context.newPage();
    this.#watch(this.page);
    return this.page;
  }

  // What pages said in alert and confirm boxes, in order. Boxes are answered with `agrees`.
  dialogs = [];
  agrees = true;
  #watch(page) {
    page.on('dialog', async (dialog) => {
      this.dialogs.push(dialog.message());
      await (this.agrees ? dialog.accept() : dialog.dismiss()).catch(() => {});
    });
  }

  async open(target = '/') { await this.page.goto(this.origin + target); }

  // To the SpamBox with a session of one's own. What the log-in page does is left out, which would take as long as many a
  // test does.
  async login(account = 'joe', password = 'secret') {
    await this.app.login(account, password);
    await this.open(`/displayspambox.htm?s=${this.app.sessionId}`);
    await this.seesSpamBox();
  }

  // The same by the log-in page.
  async loginByForm(account = 'joe', password = 'secret') {
    await this.open('/');
    await this.logOnWith(account, password);
    await this.seesSpamBox();
  }

  async seesSpamBox() { await this.page.waitForSelector('html[data-page="spambox"] #boxes'); }

  // Types into the log-in page and presses the button, nothing more.
  async logOnWith(account, password) {
    await this.page.fill('#account', account);
    await this.page.fill('#password', password);
    await this.page.click('#login button');
  }

  get sessionId() { return /[?&]s=([A-Z]{64})/.exec(this.page.url())?.[1]; }

  // Follows the navigation: inbox, spambox, friendlist, subjectlist, enemylist, find, config.
  async go(name) {
    await this.page.click(`nav a[data-for="${name}"]`);
    await this.shows(name);
  }

  // Resolves once the page with that name is there and whole.
  async shows(name, options) {
    await this.page.waitForSelector(`html[data-page="${name}" i] nav a[aria-current="page"]`, options);
  }

  // Where something is that will be clicked with the mouse: playwright's own clicks wait while a page is on its way, and
  // people do not.
  async place(selector) {
    await this.page.locator(selector).scrollIntoViewIfNeeded();
    const box = await this.page.locator(selector).boundingBox();
    return [box.x + box.width / 2, box.y + box.height / 2];
  }

  // The rows of the Inbox or SpamBox page: { from, subject, number, link }; number is the row's number in box names.
  async rows() {
    return await this.page.$$eval('#boxes tbody tr', (rows) => rows.filter((row) => row.querySelector('input')).map((row) => ({
      from: row.cells[0].textContent.trim(),
      subject: row.cells[2].textContent.trim(),
      number: Number(row.querySelector('input').name.slice(1)),
    })));
  }

  async subjects() { return (await this.rows()).map((row) => row.subject); }

  async rowOf(subject) {
    const row = (await this.rows()).find((one) => one.subject === subject);
    assert.ok(row, `a row with the subject "${subject}"`);
    return row;
  }

  // Ticks a box: kind "R" or "D".
  async tick(kind, subject) {
    const row = await this.rowOf(subject);
    await this.page.check(`input[name="${kind}${row.number}"]`);
  }

  // "(showing 1 - 15 of 20)"
  async showing() {
    return /\(showing [^)]*\)/.exec(await this.page.textContent('h1.pagedesc'))[0];
  }

  text(selector = 'body') { return this.page.innerText(selector); }

  // The page's picture in build/screenshots/. whole: all of it, in a window as long as the page, since what sticks to
  // the window's edge would lie over the middle of the page otherwise.
  async picture(name, { whole = false } = {}) {
    fs.mkdirSync(screenshots, { recursive: true });
    const size = this.page.viewportSize();
    if (whole) {
      const height = await this.page.evaluate(() => document.documentElement.scrollHeight);
      await this.page.setViewportSize({ width: size.width, height: Math.max(size.height, height) });
    }
    await this.page.screenshot({ path: path.join(screenshots, `${this.browser.name}-${name}.png`) });
    if (!whole) return;
    await this.page.setViewportSize(size);
    await this.page.waitForFunction((height) => innerHeight === height, size.height);
  }

  async said(text) { await until(() => this.dialogs.some((said) => said.includes(text)), `a box that says "${text}"`); }

  async close() { await this.context.close(); }

  // Closes the window, or leaves it empty to the next user where nothing special was done to it and no other was opened from it.
  async leave() {
    if (!await this.#leavesEmptyWindow().catch(() => false)) await this.close();
  }

  async #leavesEmptyWindow() {
    const window = this.#window;
    if (!this.#plain || window.isClosed() || !window.url().startsWith(`${this.origin}/`)) return false;
    // Behind whatever the page itself keeps when it is left.
    await window.evaluate(() => addEventListener('pagehide', () => {
      sessionStorage.clear();
      localStorage.clear();
    }));
    await window.goto('about:blank');
    for (const event of ['dialog', 'request']) window.removeAllListeners(event);
    await window.setViewportSize(VIEWPORT);
    this.browser.takeBack(window);
    return true;
  }
}
