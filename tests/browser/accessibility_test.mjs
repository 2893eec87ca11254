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
  // The page that was wanted without a session is not what is shown next here.
  await user.open('/');
  await user.page.evaluate(() => sessionStorage.clear());
  await user.login();
  session = user.sessionId;
  for (const [name, go] of VIEWS) {
    await go(user);
    await look(name);
  }
}

// dark: what there is to find does not depend on the scheme, but for colours.
async function violations(user, { dark = false } = {}) {
  // Messages are in sandboxed frames: what stands in them is the senders' own.
  if (!await user.page.evaluate(() => !!window.axe)) await user.page.evaluate(axe);
  const found = await user.page.evaluate(async (only) => (await window.axe.run(document, {
    iframes: false, resultTypes: ['violations'], ...only,
  })).violations.map((one) => [one.id, ...one.nodes.map((node) => `${node.html.slice(0, 200)}: ${node.failureSummary}`)]),
  dark ? { runOnly: { type: 'rule', values: ['color-contrast', 'link-in-text-block'] } } : { rules: { 'meta-refresh': { enabled: false } } });
  return found.map((lines) => lines.join('\n    '));
}

const DESK = { width: 1280, height: 800 };
const PHONE = { width: 390, height: 844 };
const SMALL_PHONE = { width: 320, height: 568 };
const DESK_AT_200_PERCENT = { width: 640, height: 400 };

// Elements that stand beyond the window's edge, or whose text does not fit into them. Wide tables of the guide scroll by
// themselves.
const whatIsLost = (page) => page.evaluate(() => {
  const lost = document.documentElement.scrollWidth > innerWidth ? [`the page is ${document.documentElement.scrollWidth} pixels wide`] : [];
  for (const one of document.querySelectorAll('body *')) {
    const box = one.getBoundingClientRect();
    const style = getComputedStyle(one);
    if (!box.width || !box.height || style.visibility === 'hidden' || one.closest('.skip, svg, iframe, select, .wide')) continue;
    const cut = /hidden|clip/.test(style.overflowX) && one.scrollWidth > one.clientWidth + 1 && !/^(input|textarea)$/.test(one.localName) && !one.title;
    const spills = one.localName === 'td' && one.scrollWidth > one.clientWidth + 1;
    if (box.left < -1 || box.right > innerWidth + 1 || cut || spills) lost.push(`${one.localName}.${one.className} ${one.textContent.trim().slice(0, 30)}: ${Math.round(box.left)} to ${Math.round(box.right)}`);
  }
  return lost;
});

const everyViewIsClean = (scheme) => (userTest) => {
  userTest(`TheCheckerFindsNothingOnAnyView${scheme === 'light' ? 'AndNothingIsLost' : ''} (${scheme})`, () => app, async (user) => {
    const found = [];
    await walk(user, async (view) => {
      assert.equal(await user.page.evaluate(() => matchMedia('(prefers-color-scheme: dark)').matches), scheme === 'dark');
      for (const size of scheme === 'light' ? [SMALL_PHONE, DESK_AT_200_PERCENT] : []) {
        await user.page.setViewportSize(size);
        found.push(...(await whatIsLost(user.page)).map((one) => `${view}, ${size.width} pixels wide: ${one}`));
      }
      for (const size of [PHONE, DESK]) {
        await user.page.setViewportSize(size);
        found.push(...(await violations(user, { dark: scheme === 'dark' })).map((one) => `${view}, ${size.width} pixels wide: ${one}`));
      }
    });
    assert.equal(found.join('\n'), '');
  }, { viewport: DESK });

  if (scheme === 'light') return;
  userTest('TheCheckerFindsNothingOnThePageThatWaits', () => app, async (user) => {
    const end = await showProgress(user);
    try {
      assert.equal((await violations(user)).join('\n'), '');
    } finally {
      await end();
    }
  });
};

// What the Tab key reaches, as far as it is not to be seen there: behind something, or beyond the window's edge.
async function hiddenStops(page) {
  const hidden = [];
  for (let stop = 0; stop < 120; stop++) {
    await page.keyboard.press('Tab');
    const found = await page.evaluate(() => {
      const one = document.activeElement;
      if (!one || one === document.body || one.localName === 'html') return 'end';
      if (one.dataset.reached) return 'end';
      one.dataset.reached = '1';
      if (one.localName === 'iframe') return '';
      const box = one.getClientRects()[0];
      const [x, y] = [box.left + Math.min(box.width, 60) / 2, box.top + Math.min(box.height, 60) / 2];
      const top = document.elementFromPoint(x, y);
      return top && (one.contains(top) || top.contains(one)) ? '' : `${one.outerHTML.slice(0, 90)} at ${Math.round(x)}, ${Math.round(y)} behind ${top?.outerHTML.slice(0, 60)}`;
    });
    if (found === 'end' && stop > 5) break;
    if (found && found !== 'end') hidden.push(found);
  }
  return hidden;
}

inEachBrowser((userTest, name) => {
  everyViewIsClean('light')(userTest);

  userTest('WhatHasTheFocusCanBeSeen', () => app, async (user) => {
    await user.login();
    const hidden = [];
    for (const size of [{ width: 1024, height: 640 }, { width: 640, height: 400 }]) {
      await user.page.setViewportSize(size);
      for (const view of ['spambox', 'config', 'enemylist']) {
        await user.go(view);
        await user.page.evaluate(() => document.querySelector('.skip').focus());
        hidden.push(...(await hiddenStops(user.page)).map((one) => `${view}, ${size.width} pixels wide: ${one}`));
        // Backwards things come from above.
        await user.page.evaluate(() => { for (const one of document.querySelectorAll('[data-reached]')) delete one.dataset.reached; });
      }
    }
    assert.equal(hidden.join('\n'), '');
  });

  userTest('TheFirstStopLeadsPastTheNavigation', () => app, async (user) => {
    await user.login();
    await user.page.evaluate(() => document.activeElement.blur());
    await user.page.keyboard.press('Tab');
    assert.equal(await user.page.evaluate(() => document.activeElement.textContent), 'Skip to the content');
    assert.ok((await user.page.locator('.skip').boundingBox()).x >= 0, 'it is in sight');
    await user.page.keyboard.press('Enter');
    await user.page.keyboard.press('Tab');
    assert.ok(await user.page.evaluate(() => !!document.activeElement.closest('main')));
  });

  userTest('WhatIsAnnouncedIsThereFromTheStart', () => app, async (user) => {
    await user.login();
    for (const [view, wanted] of [['spambox', '#strip #atwork #ending #shown'], ['enemylist', '#strip #atwork #ending #addinput-problem'],
      ['config', '#strip #atwork #ending #POP_SERVER-problem']]) {
      await user.go(view);
      for (const place of wanted.split(' ')) {
        assert.match(await user.page.getAttribute(place, 'role'), /^(status|alert)$/, place);
        assert.ok(await user.page.$eval(place, (one) => {
          for (let up = one; up; up = up.parentElement) if (getComputedStyle(up).display === 'none') return false;
          return true;
        }), `${view}: ${place} is rendered`);
      }
    }
    await user.page.fill('#POP_SERVER', 'a&b');
    await user.page.waitForSelector('#POP_SERVER-problem:visible');
    assert.equal(await user.page.getAttribute('#POP_SERVER', 'aria-describedby'), 'POP_SERVER-hint POP_SERVER-problem');
    await user.page.fill('#POP_SERVER', `127.0.0.1:${server.popPort}`);
    await user.page.waitForSelector('#POP_SERVER-problem', { state: 'hidden' });
    assert.equal(await user.page.getAttribute('#POP_SERVER', 'aria-describedby'), 'POP_SERVER-hint');
  });

  userTest('TheFocusIsKeptBehindAnAction', () => app, async (user) => {
    const focused = () => user.page.evaluate(() => document.activeElement.id || document.activeElement.name || document.activeElement.textContent.trim());
    const comesBack = async (work) => {
      await user.page.evaluate(() => { window.old = true; });
      await work();
      await user.page.waitForFunction(() => !window.old && document.readyState === 'complete' && document.querySelector('nav a[aria-current]'));
    };
    await user.login();
    await user.go('subjectlist');
    await user.page.fill('#addinput', `${name}s`);
    await comesBack(() => user.page.keyboard.press('Enter'));
    assert.equal(await focused(), 'addinput');
    await user.page.selectOption('#entries', { index: 0 });
    await user.page.focus('form[action^="deletefromlist"] button');
    await comesBack(() => user.page.keyboard.press('Enter'));
    assert.equal(await focused(), 'Remove the selected entry');
    await user.go('spambox');
    await user.page.focus('h1 a:has-text("Next")');
    await comesBack(() => user.page.keyboard.press('Enter'));
    assert.equal(await focused(), 'Next');
    // The last page has no such link: the heading tells where one is.
    await comesBack(() => user.page.keyboard.press('Enter'));
    assert.match(await focused(), /^SpamBox/);
    // Out of the row that is deleted into the one that takes its place.
    await user.go('spambox');
    app.write('spam/gone.txt', mail({ subject: 'to be deleted' }).toString('latin1'));
    await user.go('spambox');
    await user.tick('D', 'to be deleted');
    await user.page.evaluate(() => { document.querySelector('#boxes tbody tr:first-child').querySelector('td.delete input').focus(); });
    await comesBack(() => user.page.evaluate(() => document.querySelector('#boxes').requestSubmit(document.querySelector('[name="SUBMIT3"]'))));
    assert.ok(!(await user.subjects()).includes('to be deleted'));
    assert.equal(await focused(), 'D0');
  });
}, { own: true });

inEachBrowser((userTest) => {
  everyViewIsClean('dark')(userTest);

  userTest('NothingMovesForThoseWhoWantItStill', () => app, async (user) => {
    await user.login();
    assert.ok(await user.page.evaluate(() => matchMedia('(prefers-reduced-motion: reduce)').matches));
    await user.page.check('input[name="D0"]');
    // A page at work, held still by taking back what it sends.
    await user.page.evaluate(() => addEventListener('submit', (event) => event.preventDefault()));
    await user.page.click('button[name="SUBMIT3"]');
    await user.page.waitForSelector('button[name="SUBMIT3"].atwork:disabled');
    assert.equal(await user.page.evaluate(() => document.getAnimations().length), 0);
    assert.equal(await user.page.$eval('button.atwork', (button) => getComputedStyle(button, '::before').animationName), 'none');
  });
}, { dark: true });
