// The plain wire of the real program: login and sessions, the page table, odd requests.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import net from 'node:net';
import { after, before, beforeEach, describe, test } from 'node:test';

import { exchange, redirectTarget } from '../support/bare_http.mjs';
import { settingsForm } from '../support/forms.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { smallMailbox } from '../support/mails.mjs';
import { until } from '../support/tools.mjs';

let app;
let server;
before(async () => {
  server = await MailServer.start({ messages: smallMailbox() });
  app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}`, SESSION_MIN: '25' } });
});
after(async () => {
  await app?.stop();
  await server?.stop();
});

const ended = 'Your session has ended. Please login again. Your sessions last 25 minutes.';
const isLoginPage = (page) => /<form[^]*POP_ACCOUNT[^]*POP_PASSWORD/i.test(page);
const lastEvents = (n) => app.events().slice(-n);

describe('without a session', () => {
  for (const path of ['/', '/INDEX.HTM', '/index.htm?x', '/index.html']) {
    test(`${path}IsTheLoginPage`, async () => {
      const page = await app.get(path);
      assert.ok(isLoginPage(page));
      assert.ok(page.endsWith('\r\n'));
      assert.ok(!page.includes(ended) && !page.startsWith('HTTP/'));
      assert.deepEqual(lastEvents(1), [`${path === '/' ? 'index.htm' : path.slice(1)} request complete!`]);
    });
  }

  test('TheIconArrivesByteForByte', async () => {
    const icon = fs.readFileSync(app.path('data/vornelle.ico'));
    for (const name of ['vornelle.ico', 'VORNELLE.ICO']) {
      assert.deepEqual(await exchange(app.port, `GET /${name} HTTP/1.0\r\n\r\n`),
        Buffer.concat([icon, Buffer.from('\r\n')]));
    }
  });

  for (const path of ['/displayinbox.htm', '/DISPLAYSPAMBOX.HTM?s=', '/config.htm?s=ABC', '/mailfilter.cgi', '/foo.htm',
    '/displayemail.cgi?id=one', '/delete.cgi', '/displayfriendlist.htm', '/configupdate.cgi', '/add2white.cgi']) {
    test(`${path}IsTheLoginPageWithTheNotice`, async () => {
      await app.get('/logout.cgi');
      const before = app.log();
      const page = await app.get(path);
      assert.ok(isLoginPage(page) && page.includes(ended));
      assert.equal(app.log().slice(before.length).split('\r\n').length, 2, 'only the line of the request itself');
    });
  }
  test('NothingOfItTouchedTheMailbox', () => assert.equal(server.pop.sessions.length, 0));
});

describe('login', () => {
  test('GivesASessionOfSixtyFourCapitalLetters', async () => {
    await app.login();
    assert.match(app.sessionId, /^[A-Z]{64}$/);
    assert.ok(app.events().includes('Successful login: joe'));
  });
  test('ComparesNameAndPasswordWithoutRegardToLetterCase', async () => {
    await app.login('JOE', 'SeCrEt');
    assert.ok(app.events().includes('Successful login: JOE'));
  });
  test('WithAWrongPasswordIsLoggedAndLeavesTheSessionAlone', async () => {
    await app.login();
    const page = await app.post('/login.cgi', { POP_ACCOUNT: 'joe', POP_PASSWORD: 'wrong', GO: '1' });
    assert.equal(page, "<script language='Javascript'>alert('Login incorrect!');history.back()</script>\r\n");
    assert.ok(app.events().includes('Bad login: joe, wrong'));
    assert.ok(!isLoginPage(await app.get('/foo.htm?s={s}')));
  });
  test('EndsTheSessionBefore', async () => {
    await app.login();
    const first = app.sessionId;
    await app.login();
    assert.notEqual(app.sessionId, first);
    assert.ok((await app.get(`/foo.htm?s=${first}`)).includes(ended));
    assert.ok(!(await app.get('/foo.htm?s={s}')).includes(ended));
  });
  test('TheSessionIdIsMatchedExactlyAndAnywhereInThePath', async () => {
    await app.login();
    assert.ok((await app.get(`/foo.htm?s=${app.sessionId.toLowerCase()}`)).includes(ended));
    assert.ok(!(await app.get('/foo.htm?other=x{s}y')).includes(ended));
  });
  test('LogoutEndsTheSession', async () => {
    await app.login();
    assert.equal(await app.get('/LOGOUT.CGI?s={s}'), "<script language='Javascript'>window.location='/'</script>\r\n");
    assert.ok(app.events().includes('Logout'));
    assert.ok((await app.get('/foo.htm?s={s}')).includes(ended));
  });
  test('NoSessionIdThatALinkCarriesReachesTheLog', async () => {
    await app.login();
    await app.get('/foo.htm?s={s}');
    await app.get('/foo.htm?x=1&s={s}');
    let shown;
    await until(async () => (shown = await app.process.shown()).includes('foo.htm?x=1 request complete!'), () => `the line in ${shown}`);
    assert.ok(!(app.log() + shown).includes(app.sessionId));
  });
});

describe('with a session', () => {
  beforeEach(() => app.login());

  test('AnUnknownPageSaysSo', async () => {
    assert.equal(await app.get('/foo.htm?s={s}'),
      `<html><body><h3>Unrecognized page: foo.htm?s=${app.sessionId}</h3>` +
      '<p>If problem persists, contact developer.</p></body></html>\r\n');
    assert.deepEqual(lastEvents(2), ['***Unrecognized page: foo.htm', 'foo.htm request complete!']);
  });

  test('MailfilterFiltersAndLeadsToTheSpamBox', async () => {
    const page = await app.get('/MailFilter.cgi?s={s}');
    assert.equal(redirectTarget(page), `displayspambox.htm?s=${app.sessionId}`);
    const events = app.events();
    const start = events.lastIndexOf('Filter mail (user request)');
    assert.deepEqual(events.slice(start), ['Filter mail (user request)',
      'Removing spam from Sam <sam@spam-caught-1.example>', 'Removing spam from Sam <sam@spam-caught-2.example>',
      'Removing spam from Sam <sam@spam-caught-3.example>', 'Mail filtered:  2 msgs.  3 spam.',
      'MailFilter.cgi request complete!']);
  });

  test('AddtolistStoresTheEntryDecodedLowerCaseAndSorted', async () => {
    app.write('data/enemylist.txt', 'zebra\r\n\r\nApple\r\n');
    const page = await app.post('/addtolist.cgi?s={s}', 'addtolist=Bob%40Example.COM&type=ENEMYLIST&go=1');
    assert.equal(redirectTarget(page), `displayENEMYLIST.htm?s=${app.sessionId}`);
    assert.equal(app.read('data/enemylist.txt'), 'apple\r\nbob@example.com\r\nzebra\r\n');
    assert.ok(app.events().includes('EnemyList add: bob%40example.com'));
  });
  test('AddtolistTwiceChangesNothing', async () => {
    app.write('data/subjectlist.txt', 'jam\r\n');
    const before = app.events().length;
    await app.post('/addtolist.cgi?s={s}', 'addtolist=JAM&type=SUBJECTLIST&go=1');
    assert.equal(app.read('data/subjectlist.txt'), 'jam\r\n');
    assert.equal(app.events().length, before + 1);
  });
  test('DeletefromlistDropsTheLineOfThatNumber', async () => {
    app.write('data/subjectlist.txt', 'a\r\nb\r\nc\r\n');
    const page = await app.post('/deletefromlist.cgi?s={s}', 'deletefromlist=1&type=subjectlist&go=1');
    assert.equal(redirectTarget(page), `displaysubjectlist.htm?s=${app.sessionId}`);
    assert.equal(app.read('data/subjectlist.txt'), 'a\r\nc\r\n');
  });
  test('DeletefromlistTakesTheNumericValueOfTheText', async () => {
    app.write('data/subjectlist.txt', 'a\r\nb\r\nc\r\n');
    await app.post('/deletefromlist.cgi?s={s}', 'deletefromlist=1x&type=subjectlist&go=1');
    assert.equal(app.read('data/subjectlist.txt'), 'a\r\nc\r\n');
  });
  test('DeletefromlistWritesTheLinesBackWithTheirLineEndsAlsoWhenNoLineHasTheNumber', async () => {
    app.write('data/subjectlist.txt', 'a\n\nb');
    await app.post('/deletefromlist.cgi?s={s}', 'deletefromlist=99&type=subjectlist&go=1');
    assert.equal(app.read('data/subjectlist.txt'), 'a\r\n\r\nb\r\n');
  });
  test('AListHasOneFileWhateverTheSpellingOfItsName', async () => {
    app.remove('data/subjectlist.txt');
    await app.get('/displaySUBJECTlist.htm?s={s}');
    assert.equal(app.read('data/subjectlist.txt'), '\r\n');
    await app.post('/addtolist.cgi?s={s}', 'addtolist=ham&type=SubjectLIST&go=1');
    assert.equal(app.read('data/subjectlist.txt'), 'ham\r\n');
  });
  for (const [action, list, event] of [['ADD2BLACK.CGI', 'enemylist', 'EnemyList'], ['ADD2WHITE.CGI', 'friendlist', 'FriendList']]) {
    test(`${action}AddsAndGoesBack`, async () => {
      const page = await app.post(`/${action}?s={s}`, 'ADDTOLIST=new@entry.example&go=1');
      assert.equal(page, "<script language='Javascript'>history.back()</script>\r\n");
      assert.ok(app.read(`data/${list}.txt`).includes('new@entry.example\r\n'));
      assert.ok(app.events().includes(`${event} add: new@entry.example`));
    });
  }

  test('ConfigupdateStoresClampsAndKeepsMaskedPasswords', async () => {
    const page = await app.post('/configupdate.cgi?s={s}', settingsForm({ CHECK_MIN: '5',
      EMAIL_ADDRESS: 'new%40home.example', POP_PASSWORD: '******', MAX_SPAM_SIZE: '40000', MESSAGES_PER_PAGE: '3' },
    ['ACTIVE=1', 'NEW_WINDOW=TRUE']));
    assert.equal(redirectTarget(page), `config.htm?s=${app.sessionId}`);
    const text = app.read('Vornelle.ini');
    for (const line of ['CHECK_MIN=10', 'MAX_SPAM_SIZE=30000', 'POP_PASSWORD=secret', 'MESSAGES_PER_PAGE=3',
      'SESSION_MIN=25', 'POP_ACCOUNT=joe', 'ACTIVATE_START=TRUE', 'TEST_MODE=FALSE', 'MAX_LINK_SIZE_ON=FALSE', 'NEW_WINDOW=TRUE']) {
      assert.ok(text.includes(`${line}\r\n`), line);
    }
    assert.ok(app.events().includes('Automatic mail filtering on'));
  });
  test('ConfigupdateTellsWhichServerCannotBeLoggedOnto', async () => {
    server.pop.options.faults = [{ verb: 'PASS', error: true }];
    const page = await app.post('/configupdate.cgi?s={s}', settingsForm({ SMTP_SERVER: '127.0.0.1:1' }));
    server.pop.options.faults = [];
    assert.equal(page, "<script language='Javascript'>alert('Cannot log onto POP3 Server!');" +
      `alert('Cannot log onto SMTP Server!');window.location='config.htm?s=${app.sessionId}'</script>\r\n`);
  });
});

describe('odd requests', () => {
  test('ASilentConnectionHoldsNobodyUp', async () => {
    const silent = net.connect(app.port, '127.0.0.1');
    await new Promise((resolve) => silent.once('connect', resolve));
    for (let i = 0; i < 5; i++) assert.ok(await app.isServing());
    silent.destroy();
  });
  test('AConnectionThatClosesBeforeItsRequestHoldsNobodyUp', async () => {
    for (let i = 0; i < 10; i++) await new Promise((resolve) => net.connect(app.port, '127.0.0.1').on('connect', function () {
      this.destroy();
      resolve();
    }));
    assert.ok(await app.isServing());
  });
  test('BytesThatAreNoRequestDoNoHarm', async () => {
    const texts = ['\0\0\0\0\r\n\r\n', 'GET', 'GET  ', '\x16\x03\x01\x02\0\x01\0', 'X'.repeat(200000)];
    // Often: each connection comes at the very moment at which the one before it is taken or given up.
    for (let i = 0; i < 300; i++) {
      const socket = net.connect(app.port, '127.0.0.1');
      socket.on('error', () => {});
      await new Promise((resolve) => socket.once('connect', resolve));
      socket.write(Buffer.from(texts[i % texts.length], 'latin1'));
      assert.ok(await app.isServing(), `connection ${i}`);
      socket.destroy();
      // In a quiet moment the program gives up all requests that never came.
      if (i % 50 === 0) await new Promise((resolve) => setTimeout(resolve, 50));
    }
  });
  test('FiveHundredRequestsOneAfterTheOther', async () => {
    for (let i = 0; i < 500; i++) assert.ok((await app.get('/vornelle.ico')).length > 100);
  });
  test('AnAnswerArrivesWholeEvenIfMoreWasSentThanWasRead', async () => {
    const page = await app.get('/');
    const request = `POST /index.htm HTTP/1.0\r\nContent-Length: 300000\r\n\r\n${'y'.repeat(300000)}`;
    for (let i = 0; i < 5; i++) {
      const answer = (await exchange(app.port, request)).toString('latin1');
      assert.equal(answer.length, page.length);
    }
  });
});
