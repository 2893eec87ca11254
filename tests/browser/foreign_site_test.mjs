// A page of another site that the user has open beside the program: whatever it makes the browser send, it ends
// nothing, logs nobody out, changes nothing and reads nothing, through the gateway and over the plain wire. It even
// knows the live session's id here, which no such page can.

import assert from 'node:assert/strict';
import http from 'node:http';
import { after, before, beforeEach } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { spam } from '../support/mails.mjs';
import { until } from '../support/tools.mjs';

let app;
let server;
const lures = [];
let shown = '';
let arrived = [];
before(async () => {
  // Once on each loopback address: "localhost" then is the same site as the program's own address under that name,
  // another port of it, and the addresses are other sites.
  let port = 0;
  for (const host of ['127.0.0.1', '::1']) {
    const lure = http.createServer((request, response) => {
      arrived.push({ url: request.url, ahead: request.headers['sec-purpose'] });
      response.setHeader('Content-Type', 'text/html; charset=utf-8');
      response.end(request.url.startsWith('/page') ? shown : '<link rel="icon" href="data:,">control');
    });
    await new Promise((resolve) => lure.listen(port, host, resolve));
    port = lure.address().port;
    lures.push(lure);
  }
  server = await MailServer.start();
  app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}`, SMTP_SERVER: `127.0.0.1:${server.smtpPort}` } });
});
after(async () => {
  await app?.stop();
  await server?.stop();
  for (const lure of lures) {
    lure.closeAllConnections();
    lure.close();
  }
});

let untouched;
// The icon may have been asked for by the page of our own that says that another site has asked.
const logged = () => app.events().filter((event) => event !== 'vornelle.ico request complete!');
const everything = () => [logged(), app.read('Vornelle.ini'), app.read('data/friendlist.txt'), app.read('data/enemylist.txt'),
  Object.keys(app.spamBox()), server.pop.sessions.length, server.smtp.sessions.length];
beforeEach(async () => {
  arrived = [];
  app.write('spam/kept.txt', spam('kept').toString('latin1'));
  await app.login();
  await app.get('/displayspambox.htm?s={s}');
  untouched = everything();
});

async function assertUntouched() {
  assert.equal(app.process.ended, null, 'the program has been ended');
  assert.deepEqual(everything(), untouched);
  assert.match(await app.get('/config.htm?s={s}'), /POP_SERVER/, 'the session has been ended');
  untouched = everything();
}

const HOSTS = ['localhost', '[::1]', '127.0.0.1'];
const origin = (host) => `http://${host}:${lures[0].address().port}`;
const program = (host) => `http://${host}:${app.port}`;

// What a foreign page would like to have done, at every name of the program; with the session id it knows.
function wanted() {
  const s = app.sessionId;
  const targets = ['/UNLOADME', '/LOGOUT.CGI', `/mailfilter.cgi?s=${s}`, `/addtolist.cgi?s=${s}&addtolist=@evil.example&type=FriendList&END=1`,
    `/deleterestore.cgi?s=${s}&SUBMIT3=RESTORE-DELETE&D0=1&END=1`, `/preview.cgi?s=${s}&b=spam&k=kept&act=delete&END=1`,
    `/configupdate.cgi?s=${s}&POP_SERVER=evil.example&END=1`, `/status.json?s=${s}`, `/preview.htm?b=spam&k=kept&s=${s}`,
    `/config.htm?s=${s}`, '/vornelle.ico'];
  return HOSTS.flatMap((host) => targets.map((target) => program(host) + target));
}

// Shows the page at that address of the lure's and waits until its script says that it has tried everything; what it
// could read or load.
async function visit(user, host, script, { body = '' } = {}) {
  shown = `<!DOCTYPE html><html><head><link rel="icon" href="data:,"><title>lure</title></head><body>${body}<script type="module">
    const targets = ${JSON.stringify(wanted())};
    const got = [];
    const soon = (work, milliseconds = 8000) => Promise.race([work, new Promise((r) => setTimeout(r, milliseconds))]);
    ${script}
    window.got = got;
    window.done = true;
  </script></body></html>`;
  await user.page.goto(`${origin(host)}/page`);
  await user.page.waitForFunction(() => window.done, null, { timeout: 60000 });
  return await user.page.evaluate(() => window.got);
}

inEachBrowser((userTest, browser) => {
  for (const host of HOSTS) {
    const where = { localhost: 'OfLocalhost', '[::1]': 'OfTheIpv6Address', '127.0.0.1': 'OfTheIpv4Address' }[host];

    userTest(`APictureScriptFrameOrFetchOfAPage${where}DoesAndReadsNothing`, () => app, async (user) => {
      const got = await visit(user, host, `
        const load = (name, attribute, target) => soon(new Promise((resolve) => {
          const element = document.createElement(name);
          element.onload = () => { if (name !== 'iframe' && name !== 'object') got.push(name + ' ' + target); resolve(); };
          element.onerror = resolve;
          if (name === 'link') element.rel = 'stylesheet';
          element[attribute] = target;
          document.body.append(element);
          if (name === 'iframe') setTimeout(() => {
            try { if (element.contentDocument?.body.textContent) got.push('frame ' + target); } catch { /* another origin's */ }
            if (element.contentWindow.length) got.push('frames of ' + target);
          }, 1000);
        }), 2000);
        const ask = (target, options) => fetch(target, options).then(async (answer) => {
          if (answer.type !== 'opaque' || await answer.text()) got.push('fetch ' + target);
        }, () => {});
        const body = new URLSearchParams('addtolist=@evil.example&type=FriendList&b=spam&k=kept&act=delete&SUBMIT3=RESTORE-DELETE&D0=1&END=1');
        await Promise.all(targets.flatMap((target) => [
          load('img', 'src', target), load('script', 'src', target), load('iframe', 'src', target), load('link', 'href', target),
          load('object', 'data', target), soon(ask(target, { mode: 'no-cors' })), soon(ask(target, { mode: 'cors' })),
          soon(ask(target, { mode: 'no-cors', method: 'POST', body, credentials: 'include' })),
          navigator.sendBeacon(target, body)]));
        await new Promise((resolve) => setTimeout(resolve, 500));`);
      assert.deepEqual(got, []);
      await assertUntouched();
    });

    userTest(`AFormOrALinkOfAPage${where}DoesNothing`, () => app, async (user) => {
      await visit(user, host, `
        const send = (target, method, frame) => {
          const form = Object.assign(document.createElement('form'), { action: target, method, target: frame });
          for (const [name, value] of Object.entries({ s: '${app.sessionId}', addtolist: '@evil.example', type: 'FriendList', b: 'spam',
            k: 'kept', act: 'delete', SUBMIT3: 'RESTORE-DELETE', D0: '1', END: '1' })) {
            form.append(Object.assign(document.createElement('input'), { name, value }));
          }
          document.body.append(form);
          form.submit();
        };
        await Promise.all(targets.flatMap((target, i) => ['get', 'post'].map((method) => {
          const name = method + i;
          const frame = Object.assign(document.createElement('iframe'), { name });
          document.body.append(frame);
          send(target, method, name);
          return soon(new Promise((resolve) => { frame.onload = resolve; }), 1500);
        })));
        await new Promise((resolve) => setTimeout(resolve, 700));`);
      await assertUntouched();
      // A whole window goes there, and the user has clicked. From one address, which is another site for two of the three
      // and the same site for one.
      if (host !== 'localhost') return;
      const baits = HOSTS.map(program).flatMap((at) => [`<a href="${at}/UNLOADME" target="_blank">`, `<a href="${at}/LOGOUT.CGI" target="_blank">`,
        ...['UNLOADME', 'LOGOUT.CGI', `preview.cgi?s=${app.sessionId}`].map((target) => `<form method="post" action="${at}/${target}" target="_blank">
          <input type="hidden" name="b" value="spam"><input type="hidden" name="k" value="kept"><input type="hidden" name="act" value="delete">
          <input type="hidden" name="END" value="1"><button>`)]);
      shown = `<!DOCTYPE html><link rel="icon" href="data:,">${baits.map((bait, i) => `${bait}<b id="bait${i}">Your parcel</b></a></button></form>`).join('')}`;
      await user.page.goto(`${origin(host)}/page`);
      for (const i of baits.keys()) await user.page.click(`#bait${i}`);
      await user.page.waitForTimeout(700);
      const opened = user.context.pages().filter((page) => page !== user.page);
      assert.ok(opened.length >= baits.length / 2, `${opened.length} windows`);
      for (const page of opened) assert.doesNotMatch(await page.content().catch(() => ''), /POP_PASSWORD|kept/);
      await assertUntouched();
    });

    userTest(`AWebSocketOfAPage${where}OrOfItsSandboxedFrameDoesNothing`, () => app, async (user) => {
      const sockets = wanted().filter((one) => /UNLOADME|LOGOUT|addtolist|status/.test(one)).map((one) => one.replace('http', 'ws'));
      const script = `Promise.all(${JSON.stringify(sockets)}.map((target) => new Promise((resolve) => {
        try {
          const socket = new WebSocket(target);
          socket.onopen = () => { opened.push(target); resolve(); };
          socket.onclose = socket.onerror = resolve;
        } catch { resolve(); }
        setTimeout(resolve, 5000);
      })))`;
      const got = await visit(user, host, `
        const opened = got;
        await ${script};
        await soon(new Promise((resolve) => {
          window.onmessage = ({ data }) => { got.push(...data); resolve(); };
          const frame = document.createElement('iframe');
          frame.sandbox = 'allow-scripts allow-forms';
          frame.srcdoc = "<script>const opened = []; fetch('${program('[::1]')}/LOGOUT.CGI', { mode: 'no-cors' }).catch(() => {});" +
            ${JSON.stringify(script)} + ".then(() => parent.postMessage(opened, '*'))<\\/script>";
          document.body.append(frame);
        }), 15000);`);
      assert.deepEqual(got, []);
      await assertUntouched();
    });

    userTest(`WhatABrowserFetchesAheadForAPage${where}DoesNothing`, () => app, async (user) => {
      const control = HOSTS.map((name) => `${origin(name)}/control`);
      const rules = (urls) => `{ "source": "list", "urls": ${JSON.stringify(urls)}, "eagerness": "immediate" }`;
      const links = wanted().map((target) => `<link rel="prefetch" href="${target}"><link rel="prerender" href="${target}">` +
        `<link rel="preload" as="fetch" href="${target}">`).join('');
      const body = `${links}<link rel="prefetch" href="${origin(host)}/control">
        <script type="speculationrules">{ "prerender": [${rules(wanted().filter((one) => /UNLOADME|LOGOUT/.test(one)))}],
          "prefetch": [${rules([...wanted(), ...control])}] }</script>`;
      await visit(user, host, 'await new Promise((resolve) => setTimeout(resolve, 500));', { body });
      await until(() => arrived.some(({ url }) => url === '/control'), 'something that is fetched ahead');
      if (browser === 'chromium') await until(() => arrived.some(({ url, ahead }) => url === '/control' && ahead), 'a speculation');
      await user.page.waitForTimeout(1000);
      await assertUntouched();
    });
  }
});
