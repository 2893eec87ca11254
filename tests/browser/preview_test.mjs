// One message for reading: what is told of it, what its frame may do (nothing), and the buttons.

import assert from 'node:assert/strict';
import http from 'node:http';
import { after, before, beforeEach } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { until } from '../support/tools.mjs';

let app;
let server;
let lure;
let asked = [];
before(async () => {
  lure = http.createServer((request, response) => {
    asked.push({ url: request.url, referer: request.headers.referer });
    response.setHeader('Content-Type', 'text/html');
    response.end('<link rel="icon" href="data:,"><title>there</title>' +
      '<script>document.title = String(window.opener) + "," + document.referrer</script>');
  });
  await new Promise((resolve) => lure.listen(0, '127.0.0.1', resolve));
  server = await MailServer.start();
  app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}`, SMTP_SERVER: `127.0.0.1:${server.smtpPort}`,
    SMTP_USER: 'joe', SMTP_PASSWORD: 'secret', NEW_WINDOW: 'FALSE' } });
});
after(async () => {
  await app?.stop();
  await server?.stop();
  lure?.closeAllConnections();
  lure?.close();
});

const lureAddress = () => `http://127.0.0.1:${lure.address().port}`;
const letter = (name, there) => `From: "Bob B." <bob@spam-${name}.example>\r\nTo: joe@home.example\r\nSubject: about ${name}\r\n` +
  `Date: Mon, 09 Nov 2026 08:12:41 +0000\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n` +
  `--b\r\nContent-Type: text/html\r\n\r\n<p>words of ${name} <img src="${there}/pixel"><img src="${there}/two">` +
  `<a id=out href="${there}/followed" target=named rel=opener referrerpolicy=unsafe-url>a link</a>` +
  `<meta name=referrer content=unsafe-url><script>top.location='${there}/script'</script></p>\r\n` +
  `--b\r\nContent-Type: application/pdf\r\nContent-Transfer-Encoding: base64\r\n` +
  `Content-Disposition: attachment; filename="../bill <1>.pdf"\r\n\r\n${'QUJD'.repeat(2000)}\r\n--b--\r\n`;

beforeEach(() => {
  asked = [];
  for (const name of Object.keys(app.spamBox())) app.remove(`spam/${name}`);
  server.maildrop.messages = [];
  app.write('data/friendlist.txt', '@friend.example\r\n');
  app.write('data/enemylist.txt', '');
  const there = lureAddress();
  for (const name of ['one', 'two', 'three']) app.write(`spam/${name}.txt`, letter(name, there));
  server.maildrop.add({ uid: 'in', data: Buffer.from(letter('mailbox', there), 'latin1') });
});

async function openRow(user, subject) {
  await user.page.click(`#boxes td.subject a:text-is("${subject}")`);
  await user.page.waitForSelector('main.preview');
  await user.page.frameLocator('iframe').locator('body').waitFor();
}

inEachBrowser((userTest) => {
  userTest('AMessageIsToldInFull', () => app, async (user) => {
    await user.login();
    await openRow(user, 'about two');
    assert.equal(await user.text('.sender'), 'Bob B.');
    assert.equal(await user.text('.address'), 'bob@spam-two.example');
    assert.equal(await user.text('h1'), 'about two');
    assert.match(await user.text('.facts .date'), /^11-09-2026 \d\d:\d\d[AP]M$/);
    assert.match(await user.text('.facts .size'), /^\d+K$/);
    assert.equal((await user.text('.attachments')).trim(), 'bill <1>.pdf 6K');
    assert.match(await user.text('.pictures'), /^2 pictures that the message would fetch from elsewhere are left out/);
    assert.match(await user.page.frameLocator('iframe').locator('body').innerText(), /^words of two a link$/);
    await user.page.waitForTimeout(300);
    assert.deepEqual(asked, []);
    await user.picture('preview');
  });

  userTest('AMessageOnTheServerIsShownToo', () => app, async (user) => {
    await user.login();
    await user.go('inbox');
    await openRow(user, 'about mailbox');
    assert.match(await user.page.frameLocator('iframe').locator('body').innerText(), /^words of mailbox/);
    assert.ok(!await user.page.isVisible('form.restore'));
    user.agrees = true;
    await user.page.click('button:text("Delete")');
    await until(() => server.maildrop.messages.length === 0, 'the deletion');
    await user.shows('inbox');
    assert.deepEqual(user.dialogs, ['Delete this message for good?']);
  });

  userTest('ALinkOfAMessageTellsNobodyWhereItStandsAndReachesNothing', () => app, async (user) => {
    await user.login();
    await openRow(user, 'about one');
    const opened = user.context.waitForEvent('page');
    await user.page.frameLocator('iframe').locator('#out, a').first().click();
    const there = await opened;
    await there.waitForFunction(() => document.title.includes(','));
    assert.equal(await there.title(), 'null,');
    assert.deepEqual(asked, [{ url: '/followed', referer: undefined }]);
    await there.close();
    // The same for a message that stands by itself, as it came.
    asked = [];
    server.maildrop.add({ uid: 'web', data: Buffer.from(letter('web', lureAddress())
      .replace(/multipart[^]*?--b\r\nContent-Type: /, '').replace(/--b\r\n[^]*/, ''), 'latin1') });
    await user.go('inbox');
    await openRow(user, 'about web');
    const tab = user.context.waitForEvent('page');
    await user.page.click('text=Open by itself');
    const alone = await tab;
    await alone.waitForLoadState('load');
    await alone.click('#out');
    await alone.waitForFunction(() => document.title.includes(','));
    assert.equal(await alone.title(), 'null,');
    assert.deepEqual(asked, [{ url: '/followed', referer: undefined }]);
  });

  userTest('PreviousAndNextWalkTheList', () => app, async (user) => {
    await user.login();
    const subjects = await user.subjects();
    await openRow(user, subjects[1]);
    await user.page.click('.around a:text("Next")');
    await user.page.waitForSelector(`h1 bdi:text-is("${subjects[2]}")`);
    assert.equal(await user.page.locator('.around a:text("Next")').count(), 0);
    await user.page.click('.around a:text("Previous")');
    await user.page.waitForSelector(`h1 bdi:text-is("${subjects[1]}")`);
    await user.page.click('.around a:text("SpamBox")');
    await user.shows('spambox');
  });

  userTest('TheButtonsDoWhatTheySay', () => app, async (user) => {
    await user.login();
    const [first, second] = await user.subjects();
    const name = (subject) => subject.replace('about ', '');
    await openRow(user, first);
    await user.page.click('button:text("Friend")');
    await until(() => app.read('data/friendlist.txt').includes(`bob@spam-${name(first)}.example`), 'the friend');
    await user.page.waitForSelector('main.preview');
    await user.page.click('button:text("Enemy")');
    await until(() => app.read('data/enemylist.txt').includes(`bob@spam-${name(first)}.example`), 'the enemy');
    await user.page.waitForSelector('main.preview');
    const sent = server.maildrop.messages.length;
    await user.page.click('button:text("Restore")');
    await until(() => server.maildrop.messages.length === sent + 1, 'the restored message');
    assert.ok(app.exists(`spam/${name(first)}.txt`), 'the file stays');
    await user.page.waitForSelector('main.preview');
    user.agrees = false;
    await user.page.click('button:text("Delete")');
    await user.said('Delete this message for good?');
    assert.ok(app.exists(`spam/${name(first)}.txt`));
    user.agrees = true;
    await user.page.click('button:text("Delete")');
    await until(() => !app.exists(`spam/${name(first)}.txt`), 'the deletion');
    await user.page.waitForSelector(`h1 bdi:text-is("${second}")`);
    assert.deepEqual(Object.keys(app.spamBox()).length, 2);
  });
});
