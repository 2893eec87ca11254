// Every page and every view of them, walked through: the axe checker finds nothing in either colour scheme, nothing is lost
// in narrow and zoomed windows, and what has the focus can be seen.
//
// One rule of the checker is left out: "meta-refresh". A page loads itself anew when its session is over, so that nobody
// else finds the mail of somebody who has left; the page tells minutes before that it is going to.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { after, before } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { Application } from '../support/harness.mjs';
import { repository } from '../support/launcher.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { friendly, mail } from '../support/mails.mjs';
import { until } from '../support/tools.mjs';

const axe = fs.readFileSync(path.join(repository, 'node_modules', 'axe-core', 'axe.min.js'), 'utf8');

const LONG = 'a subject that goes on for much longer than any row of the list is going to show';

let app;
let server;
before(async () => {
  server = await MailServer.start();
  app = await Application.start({ settings: {
    POP_SERVER: `127.0.0.1:${server.popPort}`, SMTP_SERVER: `127.0.0.1:${server.smtpPort}`, SMTP_USER: 'joe', SMTP_PASSWORD: 'secret',
    NEW_WINDOW: 'FALSE', MESSAGES_PER_PAGE: '10',
  } });
  for (let i = 0; i < 25; i++) {
    server.maildrop.add({ uid: `in${i}`, data: friendly(`letter ${i}`) });
    app.write(`spam/s${i}.txt`, mail({ subject: `${LONG} ${i}`,
      from: '"A name of some length, support@bank.example" <somebody.else@elsewhere.example>' }).toString('latin1'));
  }
  app.write('data/enemylist.txt', '@enemy.example\r\nsomebody\r\n');
});
after(async () => {
  await app?.stop();
  await server?.stop();
});

// Where a page needs the mail server out of order, it is put in order again before the next one.
async function withFaults(faults, work) {
  server.pop.options.faults = faults;
  try { await work(); } finally { server.pop.options.faults = []; }
}
const NOT_REACHED = [{ verb: 'GREETING', cut: true }];

// What people see, in the order in which it is walked: a name, the way there, and what is left standing for the next one.
const BEFORE_LOGIN = [
  ['login', (user) => user.open('/')],
  ['login, session over', (user) => user.open(`/displayinbox.htm?s=${'A'.repeat(64)}`)],
  ['login, refused field', async (user) => {
    await user.open('/');
    await user.page.fill('#account', 'a&b');
    await user.page.waitForSelector('#account-problem:visible');
  }],
  ['guide', (user) => user.open('/guide.htm')],
  ['no such view', (user) => user.open(`/view.htm?v=${'A'.repeat(32)}`)],
];
const VIEWS = [
  ['spambox', (user) => user.go('spambox')],
  ['spambox, ticked', async (user) => {
    await user.page.check('input[name="R0"]');
    await user.page.check('input[name="D1"]');
    await user.page.click('#boxes td.from a');
  }],
  ['spambox, last page', (user) => user.open(`/displayspambox.htm?s=${user.sessionId}&msg=20`)],
  ['inbox', (user) => user.go('inbox')],
  ['inbox, not reached', (user) => withFaults(NOT_REACHED, () => user.go('inbox'))],
  ['friendlist', (user) => user.go('friendlist')],
  ['friendlist, refused entry', async (user) => {
    await user.page.fill('#addinput', 'a+b@x.example');
    await user.page.waitForSelector('.problem:visible');
  }],
  ['subjectlist, empty', (user) => user.go('subjectlist')],
  ['enemylist', (user) => user.go('enemylist')],
  ['search', (user) => user.go('find')],
  ['search, found', async (user) => {
    await user.page.fill('#findinlists', 'example');
    await user.page.keyboard.press('Enter');
    await user.page.waitForSelector('.result:visible');
  }],
  ['settings', (user) => user.go('config')],
  ['settings, refused field', async (user) => {
    await user.page.fill('#POP_ACCOUNT', 'a&b');
    await user.page.waitForSelector('.problem:visible');
  }],
  ['settings, servers failed', (user) => withFaults(NOT_REACHED, async () => {
    await user.go('config');
    await user.page.click('.save button');
    await user.page.waitForSelector('#POP3-note');
  })],
  ['preview of spam', async (user) => {
    await user.go('spambox');
    await user.page.click('#boxes td.subject a');
    await user.page.waitForSelector('main.preview');
  }],
  ['preview of the source', async (user) => {
    await user.page.click('text=Show the source');
    await user.page.waitForSelector('text=Show the message');
  }],
  ['preview in the inbox', async (user) => {
    await user.go('inbox');
    await user.page.click('#boxes td.subject a');
    await user.page.waitForSelector('main.preview');
  }],
  ['message gone', (user) => user.open(`/preview.htm?b=spam&k=none&s=${user.sessionId}`)],
  ['unrecognized page', (user) => user.open(`/nothing.htm?s=${session}`)],
];
let session;

// The page that waits for the mailbox, while a filter run is held up.
let shown = 0;
async function showProgress(user) {
  await user.login();
  for (let i = 0; i < 12; i++) server.maildrop.add({ uid: `progress${i}-${++shown}`, data: mail({ subject: `held up ${i}` }) });
  server.pop.options.late = 80;
  await app.login();
  const run = app.filterMail();
  const from = server.pop.sessions.length;
  await until(() => server.pop.sessions[from]?.commands.some((command) => command.startsWith('RETR')), 'the run', 20000);
  await user.open(`/displayinbox.htm?s=${app.sessionId}`);
  await user.page.waitForSelector('html[data-page="progress"] main');
  return async () => {
    delete server.pop.options.late;
    await run;
  };
}

async function walk(user, look) {
  for (const [name, go] of BEFORE_LOGIN) {
    await go(user);
    await look(name);
  }
  await user.login();
  session = user.sessionId;
  for (const [name, go] of VIEWS) {
    await go(user);
    await look(name);
  }
}

async function violations(user) {
  // Messages are in sandboxed frames: what stands in them is the senders' own.
  await user.page.evaluate(axe);
  const found = await user.page.evaluate(async () => (await window.axe.run(document, {
    iframes: false, resultTypes: ['violations'], rules: { 'meta-refresh': { enabled: false } },
  })).violations.map((one) => [one.id, ...one.nodes.map((node) => `${node.html.slice(0, 200)}: ${node.failureSummary}`)]));
  return found.map((lines) => lines.join('\n    '));
}

const DESK = { width: 1280, height: 800 };
const PHONE = { width: 390, height: 844 };

const everyViewIsClean = (scheme) => (userTest) => {
  userTest(`TheCheckerFindsNothingOnAnyView (${scheme})`, () => app, async (user) => {
    const found = [];
    await walk(user, async (view) => {
      assert.equal(await user.page.evaluate(() => matchMedia('(prefers-color-scheme: dark)').matches), scheme === 'dark');
      for (const size of [PHONE, DESK]) {
        await user.page.setViewportSize(size);
        found.push(...(await violations(user)).map((one) => `${view}, ${size.width} pixels wide: ${one}`));
      }
    });
    assert.equal(found.join('\n'), '');
  }, { viewport: DESK });

  userTest(`TheCheckerFindsNothingOnThePageThatWaits (${scheme})`, () => app, async (user) => {
    const end = await showProgress(user);
    try {
      assert.equal((await violations(user)).join('\n'), '');
    } finally {
      await end();
    }
  });
};

inEachBrowser(everyViewIsClean('light'));
inEachBrowser(everyViewIsClean('dark'), { dark: true });
