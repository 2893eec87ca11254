// Reading, searching and editing: every page, and what a hostile message can do to it (nothing).

import assert from 'node:assert/strict';
import http from 'node:http';
import { after, before } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { friendly, mail, spam } from '../support/mails.mjs';
import { until } from '../support/tools.mjs';

// A web server that a message may try to reach. Every request and every connection counts.
class Lure {
  async start() {
    this.requests = [];
    this.connections = 0;
    this.server = http.createServer((request, response) => {
      this.requests.push(request.url);
      // A page that names its icon: browsers ask for none later, in the middle of another test.
      response.setHeader('Content-Type', 'text/html');
      response.end('<link rel="icon" href="data:,">caught');
    });
    this.server.on('connection', () => { this.connections++; });
    await new Promise((resolve) => this.server.listen(0, '127.0.0.1', resolve));
    this.port = this.server.address().port;
    return this;
  }
  stop() {
    this.server.closeAllConnections();
    this.server.close();
  }
}

// Everything that tells a sender that a message is being read, or that runs something.
function hostileHtml(lure) {
  const there = `http://127.0.0.1:${lure.port}`;
  return `<html><head><title>Offer</title><meta charset="utf-8"><base href="${there}/base/">
<meta http-equiv="refresh" content="0;url=${there}/refresh">
<link rel="stylesheet" href="${there}/style.css"><link rel="preconnect" href="${there}">
<link rel="dns-prefetch" href="${there}"><link rel="prefetch" href="${there}/prefetch">
<style>@import url(${there}/import.css); h1 { background: url(${there}/background.png) }</style>
<script src="${there}/script.js"></script>
<script>document.title = 'script ran'; new Image().src = '${there}/beacon'; location = '${there}/moved';</script></head>
<body onload="document.title = 'handler ran'; fetch('${there}/fetched')"><h1>An offer of gr\xfcne \x80 5 sausages</h1>
<img src="${there}/pixel.gif"><img src="relative.gif"><img src="x:y" onerror="document.title = 'handler ran'">
<img alt="own" src="data:image/gif;base64,R0lGODlhAQABAIAAAP8AAAAAACwAAAAAAQABAAACAkQBADs=">
<iframe src="${there}/frame"></iframe><video src="${there}/film" poster="${there}/poster" autoplay></video>
<object data="${there}/object"></object><embed src="${there}/embed"><audio src="${there}/sound" autoplay></audio>
<form action="${there}/form"><input name="a" value="b"><button id="send">Send</button></form>
<svg width="9" height="9"><image href="${there}/svg.png"></image></svg>
</body></html>\r\n`.replace(/\r?\n/g, '\r\n');
}

const html = (message) => Buffer.from(message.toString('latin1').replace('\r\n\r\n',
  '\r\nMIME-Version: 1.0\r\nContent-Type: text/html; charset=windows-1252\r\n\r\n'), 'latin1');

let app;
let server;
let lure;
before(async () => {
  lure = await new Lure().start();
  const messages = [
    { uid: 'plain', data: friendly('plain words', 'Good morning.\r\n<b>not bold</b>\r\n') },
    { uid: 'hostile', data: html(friendly('an HTML offer', hostileHtml(lure))) },
    { uid: 'gone', data: friendly('soon gone') },
    { uid: 'trap1', data: friendly('<script>alert(1)</script>') },
    { uid: 'trap2', data: friendly(`<img src=http://127.0.0.1:${lure.port}/s>`) },
    { uid: 'trap4', data: friendly(`<iframe src=http://127.0.0.1:${lure.port}>`) },
    { uid: 'trap3', data: friendly('<img src=x onerror=alert(2)>') },
  ];
  for (let i = 1; i <= 17; i++) messages.push({ uid: `s${i}`, data: spam(`caught-${i}`) });
  messages.push({ uid: 'strap1', data: mail({ from: 'Eve <eve@evil.example>', subject: '<script>alert(3)</script>' }) });
  messages.push({ uid: 'strap2', data: mail({ from: '<script>alert(4)</script> <eve@evil.example>', subject: 'odd sender' }) });
  messages.push({ uid: 'shostile', data: html(mail({ subject: 'unasked offer', body: hostileHtml(lure) })) });
  server = await MailServer.start({ messages });
  app = await Application.start({ settings: {
    POP_SERVER: `127.0.0.1:${server.popPort}`, SMTP_SERVER: `127.0.0.1:${server.smtpPort}`,
    SMTP_USER: 'joe', SMTP_PASSWORD: 'secret',
  } });
  await app.login();
  await app.filterMail();
});
after(async () => {
  await app?.stop();
  await server?.stop();
  lure?.stop();
});

// Opens a row's message; it comes in a tab of its own. `read` gets that tab.
async function readMessage(user, subject, read) {
  const opened = user.context.waitForEvent('page');
  await user.page.click(`#boxes td:nth-child(3) a:text-is("${subject}")`);
  const message = await opened;
  await message.waitForLoadState('load');
  const list = user.page;
  user.page = message;
  try {
    await read(message);
  } finally {
    user.page = list;
    await message.close();
  }
}

inEachBrowser((userTest, name) => {
  userTest('TheSpamBoxIsPagedForthAndBack', () => app, async (user) => {
    await user.login();
    assert.equal(await user.showing(), '(showing 1 - 15 of 20)');
    const first = await user.subjects();
    assert.equal(first.length, 15);
    await user.page.click('h1 >> text=Next');
    await user.page.waitForURL(/msg=15$/);
    await user.shows('spambox');
    assert.equal(await user.showing(), '(showing 16 - 20 of 20)');
    const second = await user.subjects();
    assert.equal(new Set([...first, ...second]).size, 20);
    await user.page.click('h1 >> text=Prev');
    await user.page.waitForURL(/msg=0$/);
    await user.shows('spambox');
    assert.deepEqual(await user.subjects(), first);
    // By the browser's own buttons too.
    await user.page.goBack();
    await user.page.waitForURL(/msg=15$/);
    await user.shows('spambox');
    assert.deepEqual(await user.subjects(), second);
  });

  userTest('ASubjectThatHoldsHtmlRunsNothingAndLoadsNothing', () => app, async (user) => {
    const before = lure.connections;
    await user.login();
    await user.page.click('h1 >> text=Next');
    await user.page.waitForURL(/msg=15$/);
    await user.shows('spambox');
    await user.go('inbox');
    assert.equal(await user.showing(), '(showing 1 - 7 of 7)');
    await user.page.waitForTimeout(500);
    assert.deepEqual(user.dialogs, []);
    assert.equal(lure.connections, before);
    // Every row is there, and the form's last field.
    assert.equal((await user.rows()).length, 7);
    // What they hold is text, cut like any other.
    const traps = ['<script>alert(1)</script>', `<img src=http://127.0.0.1:${lure.port}/s>`, `<iframe src=http://127.0.0.1:${lure.port}>`,
      '<img src=x onerror=alert(2)>'];
    assert.deepEqual(await user.page.$$eval('#boxes td.subject', (cells) => cells.map((cell) => cell.innerText.trim())),
      ['plain words', 'an HTML offer', 'soon gone', ...traps.map((trap) => trap.slice(0, 35))]);
    assert.equal(await user.page.$eval('#boxes', (form) => form.elements.END.value), '1');
    await user.picture('hostile-subjects');
  });

  userTest('AnHtmlMessageRunsNoScriptAndLoadsNothing', () => app, async (user) => {
    await user.login();
    await user.go('inbox');
    const before = lure.connections;
    const asked = lure.requests.length;
    await readMessage(user, 'an HTML offer', async (message) => {
      await message.waitForTimeout(500);
      assert.match(message.url(), /\/preview\.htm\?b=inbox&k=hostile&s=/);
      const frame = message.frameLocator('iframe');
      assert.equal(await frame.locator('h1').innerText(), 'An offer of gr\xfcne \u20ac 5 sausages');
      assert.equal(await frame.locator('img').count(), 1, 'the picture that it brings itself');
      assert.equal(await frame.locator('script, form, iframe, link, style, meta, object, embed, svg').count(), 1, 'our own style');
      assert.match(await message.innerText('.pictures'), /^\d+ pictures that the message would fetch/);
      await user.picture('html-message');
      // By itself, as it came: in a sandbox, at an address that tells nothing.
      const opened = user.context.waitForEvent('page');
      await message.click('text=Open by itself');
      const alone = await opened;
      await alone.waitForLoadState('load');
      assert.match(alone.url(), /\/view\.htm\?v=[A-Z]{32}$/);
      assert.equal(await alone.innerText('h1'), 'An offer of gr\xfcne \u20ac 5 sausages');
      assert.equal(await alone.title(), 'Offer');
      await alone.click('#send').catch(() => {});
      await alone.waitForTimeout(300);
      assert.match(alone.url(), /\/view\.htm/);
      await alone.close();
    });
    assert.deepEqual(lure.requests.slice(asked), []);
    assert.equal(lure.connections, before);
    // The lure works: what goes there does count.
    await user.page.goto(`http://127.0.0.1:${lure.port}/control`);
    assert.ok(lure.connections > before && lure.requests.slice(asked).includes('/control'));
  });

  userTest('ASavedMessageIsShownAsItsText', () => app, async (user) => {
    await user.login();
    const before = lure.connections;
    await readMessage(user, 'unasked offer', async (message) => {
      assert.equal(await message.frameLocator('iframe').locator('h1').innerText(), 'An offer of gr\xfcne \u20ac 5 sausages');
      await message.click('text=Show the source');
      await message.waitForSelector('text=Show the message');
      const text = await message.frameLocator('iframe').locator('body').innerText();
      assert.match(text, /^From: Stranger <who@stranger\.example>/);
      assert.ok(text.includes(`<script src="http://127.0.0.1:${lure.port}/script.js"></script>`));
      await user.picture('saved-message');
    });
    assert.equal(lure.connections, before);
  });

  userTest('EachPageHasALinkToTheGuideThatOpensBesideIt', () => app, async (user) => {
    const opensTheGuide = async (look) => {
      const opened = user.context.waitForEvent('page');
      await user.page.click('a.guide[title]');
      const guide = await opened;
      await guide.waitForLoadState('load');
      assert.equal(new URL(guide.url()).pathname, '/guide.htm');
      assert.equal(await guide.innerText('h1'), 'Vornelle: the guide');
      await look?.(guide);
      await guide.close();
    };
    await user.open('/');
    await opensTheGuide(async (guide) => {
      const lost = await guide.evaluate(async () => {
        const pictures = [...document.images];
        // Those further down are fetched when they come near.
        await Promise.all(pictures.map((one) => { one.loading = 'eager'; return one.decode().catch(() => {}); }));
        return [
          // Their places are kept free before they come.
          ...pictures.filter((one) => !one.alt || one.getAttribute('width') !== String(one.naturalWidth) ||
            one.getAttribute('height') !== String(one.naturalHeight)).map((one) => one.src),
          ...[...document.querySelectorAll('a[href]')].map((link) => link.getAttribute('href'))
            .filter((href) => !href.startsWith('#') || !document.getElementById(href.slice(1))),
        ];
      });
      assert.deepEqual(lost, [], 'pictures that are not there, links that lead nowhere');
      const end = guide.locator('nav a').last();
      await end.click();
      await guide.waitForFunction((id) => { const top = document.querySelector(id).getBoundingClientRect().top; return top >= 0 && top < innerHeight; },
        await end.getAttribute('href'));
    });
    await user.login();
    for (const name of ['spambox', 'inbox', 'friendlist', 'subjectlist', 'enemylist', 'find', 'config']) {
      await user.go(name);
      await opensTheGuide();
    }
    await user.go('spambox');
    await readMessage(user, 'unasked offer', () => opensTheGuide());
  });

  userTest('APlainMessageIsShownAsItsText', () => app, async (user) => {
    await user.login();
    await user.go('inbox');
    await readMessage(user, 'plain words', async (message) => {
      assert.match(await message.frameLocator('iframe').locator('body').innerText(), /Good morning\.\s+<b>not bold<\/b>/);
      await user.picture('plain-message');
    });
  });

  userTest('AMessageThatIsGoneIsTold', () => app, async (user) => {
    await user.login();
    await user.go('inbox');
    const message = server.maildrop.messages.find((one) => one.uid === 'gone');
    server.maildrop.remove(message);
    try {
      await readMessage(user, 'soon gone', async (page) => {
        assert.match(await page.innerText('body'), /Requested email does not exist!/);
        await user.picture('message-gone');
      });
      assert.ok(app.events().includes('**Requested email does not exist!'));
    } finally {
      server.maildrop.messages.splice(2, 0, message);
    }
  });

  userTest('AServerThatCannotBeReachedIsTold', () => app, async (user) => {
    await user.login();
    await user.go('inbox');
    server.pop.options.faults = [{ verb: 'GREETING', cut: true }];
    try {
      const before = app.events().length;
      await readMessage(user, 'plain words', async (page) => {
        assert.match(await page.innerText('body'), /Cannot log onto POP3 server\. Try again later\./);
        await user.picture('server-not-reached');
      });
      await user.go('inbox');
      const events = app.events().slice(before);
      assert.equal(events.filter((event) => event === '**Cannot log onto POP3 server.').length, 2);
      await user.go('config');
      await user.page.click('button:text("Update")');
      await user.said('Cannot log onto POP3 Server!');
      await user.shows('config');
    } finally {
      server.pop.options.faults = [];
    }
    assert.deepEqual(user.dialogs, ['Cannot log onto POP3 Server!']);
  });

  userTest('ASenderIsPutOnEachListByAClickInItsRow', () => app, async (user) => {
    for (const [button, list] of [['Add to FriendList', 'friendlist'], ['Add to EnemyList', 'enemylist']]) {
      app.write('data/friendlist.txt', '@friend.example\r\n');
      app.write('data/enemylist.txt', '');
      await user.login();
      const row = (await user.rows()).find((one) => one.subject.startsWith('caught-'));
      const domain = `@spam-${row.subject}.example`;
      const entry = list === 'friendlist' ? `sam${domain}` : domain;
      await user.page.click(`#boxes tr:has(input[name="R${row.number}"]) td:nth-child(1) a`);
      assert.equal(await user.page.inputValue('#addinput'), `sam${domain}`);
      assert.ok(await user.page.isChecked(`input[name="R${row.number}"]`), 'the click ticks the restore box');
      if (entry.startsWith('@')) await user.page.click(`.shorter button:text-is("${entry}")`);
      await user.picture(`sender-${list}`);
      await user.page.click(`button:text("${button}")`);
      await until(() => app.read(`data/${list}.txt`).split('\r\n').includes(entry), `${entry} in the list`);
      await user.page.waitForSelector(`#boxes tr:has(input[name="R${row.number}"]) .mark.${list.slice(0, -4)}`);
      assert.equal(await user.page.isChecked(`input[name="R${row.number}"]`), list === 'friendlist', 'no enemy is restored');
    }
    // The Inbox page ticks nothing.
    await user.go('inbox');
    await user.page.click('#boxes tr:has-text("plain words") td:nth-child(1) a');
    assert.equal(await user.page.inputValue('#addinput'), 'fay@friend.example');
    assert.equal(await user.page.$$eval('#boxes input:checked', (boxes) => boxes.length), 0);
  });

  userTest('EntriesAreAddedFoundAndRemoved', () => app, async (user) => {
    app.write('data/subjectlist.txt', 'choir\r\nkites\r\n');
    await user.login();
    await user.go('subjectlist');
    await user.page.fill('#addinput', 'Jam');
    await user.page.click('button:text("Add")');
    await user.page.waitForSelector('option:text-is("jam")', { state: 'attached' });
    await user.picture('list');
    await user.go('find');
    await user.page.fill('#findinlists', 'JA');
    await user.page.keyboard.press('Enter');
    await user.page.waitForSelector('.result:has-text("- jam")');
    await user.picture('search');
    await user.go('subjectlist');
    await user.page.selectOption('#entries', { label: 'kites' });
    await user.page.click('button:text("Remove")');
    await user.page.waitForFunction(() => document.querySelectorAll('option').length === 2);
    assert.equal(app.read('data/subjectlist.txt'), 'choir\r\njam\r\n');
  });

  userTest('SettingsAreChangedAndMaskedPasswordsKept', () => app, async (user) => {
    await user.login();
    await user.go('config');
    assert.equal(await user.page.inputValue('#POP_PASSWORD'), '******');
    await user.page.fill('#CHECK_MIN', '45');
    await user.page.fill('#SESSION_MIN', '5');
    await user.page.fill('#EMAIL_ADDRESS', `joe+${name}@home.example`);
    await user.page.check('#ACTIVE');
    await user.page.uncheck('#NEW_WINDOW');
    await user.page.click('button:text("Update")');
    await user.page.waitForFunction(() => document.querySelector('#SESSION_MIN')?.value === '10');
    await user.shows('config');
    assert.deepEqual(user.dialogs, []);
    await user.picture('settings', { whole: true });
    for (const line of ['CHECK_MIN=45', 'SESSION_MIN=10', `EMAIL_ADDRESS=joe+${name}@home.example`, 'POP_PASSWORD=secret',
      'SMTP_PASSWORD=secret', 'ACTIVATE_START=TRUE', 'NEW_WINDOW=FALSE', 'MAX_LINK_SIZE_ON=TRUE']) {
      assert.ok(app.read('Vornelle.ini').includes(`${line}\r\n`), line);
    }
    // Back to what it was.
    await user.page.fill('#CHECK_MIN', '30');
    await user.page.fill('#SESSION_MIN', '30');
    await user.page.uncheck('#ACTIVE');
    await user.page.check('#NEW_WINDOW');
    await user.page.click('button:text("Update")');
    await user.page.waitForFunction(() => document.querySelector('#SESSION_MIN')?.value === '30');
    assert.ok(app.read('Vornelle.ini').includes('NEW_WINDOW=TRUE\r\n'));
  });
});
