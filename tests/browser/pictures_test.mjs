// Pictures of every page with the demo's mail: on a desk, on a phone, in the dark. They lie in build/screenshots/ and are
// looked at by people; what can be told by a program is that no page is wider than its window and that no page
// asked for anything elsewhere.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { after, before } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { demoFolder, makeDemoMaildrop } from '../support/demo_maildrop.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { temporaryFolder } from '../support/tools.mjs';

let app;
let server;
before(async () => {
  const folder = path.join(temporaryFolder('demo'), 'maildrop');
  makeDemoMaildrop(folder);
  server = await MailServer.start({ folder, user: 'wilma', password: 'marmalade' });
  const lists = Object.fromEntries(['friendlist', 'subjectlist', 'enemylist'].map((list) =>
    [list, fs.readFileSync(path.join(demoFolder, `${list}.txt`), 'latin1').split(/\r?\n/).filter(Boolean)]));
  app = await Application.start({ lists, settings: {
    EMAIL_ADDRESS: 'wilma@home.example', POP_SERVER: `127.0.0.1:${server.popPort}`, POP_ACCOUNT: 'wilma',
    POP_PASSWORD: 'marmalade', SMTP_SERVER: `127.0.0.1:${server.smtpPort}`, SMTP_USER: 'wilma', SMTP_PASSWORD: 'marmalade',
    MAX_LINK_SIZE: '150',
  } });
  await app.login('wilma', 'marmalade');
  await app.filterMail();
});
after(async () => {
  await app?.stop();
  await server?.stop();
});

const DESK = { viewport: { width: 1280, height: 900 } };
const PHONE = { viewport: { width: 390, height: 844 } };

const everyPage = (window, options) => (userTest) => {
  userTest(`EveryPageFitsItsWindow (${window})`, () => app, async (user) => {
    const elsewhere = [];
    user.page.on('request', (request) => {
      if (!/^(data|about):/.test(request.url()) && !request.url().startsWith(user.origin)) elsewhere.push(request.url());
    });
    const look = async (name) => {
      await user.picture(`${window}-${name}`);
      const [content, shown, background] = await user.page.evaluate(() =>
        [document.documentElement.scrollWidth, innerWidth, getComputedStyle(document.body).backgroundColor]);
      assert.ok(content <= shown, `${name}: ${content} pixels in a window of ${shown}`);
      assert.equal(/rgb\((\d+)/.exec(background)[1] < 128, window === 'dark', `${name}: ${background}`);
    };
    await user.open('/');
    await look('login');
    await user.login('wilma', 'marmalade');
    for (const name of ['spambox', 'inbox', 'friendlist', 'subjectlist', 'enemylist', 'find', 'config']) {
      await user.go(name);
      if (name === 'find') {
        await user.page.fill('#findinlists', 'example');
        await user.page.keyboard.press('Enter');
        await user.page.waitForSelector('.result:visible');
      }
      await look(name);
    }
    assert.deepEqual(elsewhere, []);

    // A page at work, held still by taking back what it sends.
    await user.go('inbox');
    await user.page.locator('#boxes tbody input').first().check();
    await user.page.evaluate(() => addEventListener('submit', (event) => event.preventDefault()));
    await user.page.click('button[name="SUBMIT3"]');
    await user.page.waitForSelector('button[name="SUBMIT3"].atwork:disabled');
    await look('at-work');
  }, options);
};

inEachBrowser((userTest) => {
  everyPage('desk', DESK)(userTest);
  everyPage('phone', PHONE)(userTest);
});
inEachBrowser(everyPage('dark', DESK), { dark: true });
