// How requests are read: parameters by plain text search, decoding by the table, forms that come in pieces, and
// templates that are read afresh for each page.

import assert from 'node:assert/strict';
import net from 'node:net';
import { after, before, beforeEach, describe, test } from 'node:test';

import { exchange } from '../support/bare_http.mjs';
import { boxesForm } from '../support/forms.mjs';
import { Application } from '../support/harness.mjs';

let app;
before(async () => { app = await Application.start({ settings: { SESSION_MIN: '25' } }); });
beforeEach(() => app.login());
after(() => app?.stop());

describe('parameters', () => {
  test('AreFoundInAnyLetterCaseWhereverTheyStandFirst', async () => {
    const page = await exchange(app.port, 'GET /login.cgi?pop_account=joe&Pop_Password=SECRET& HTTP/1.0\r\n\r\nPOP_ACCOUNT=ann&');
    assert.match(page.toString(), /displaySpambox\.htm\?s=[A-Z]{64}/);
  });

  test('ThatNoAmpersandFollowsCannotBeRead', async () => {
    await app.post('/add2white.cgi?s={s}', 'ADDTOLIST=unread@entry.example');
    assert.ok(!app.read('data/friendlist.txt').includes('unread'));
    await app.post('/add2white.cgi?s={s}', 'ADDTOLIST=read@entry.example&');
    assert.ok(app.read('data/friendlist.txt').includes('read@entry.example\r\n'));
  });

  test('OfTheMessagePagesAreTheFirstValueWhateverItsName', async () => {
    app.write('spam/key1.txt', 'Subject: a+b %21 %2526 %40\r\n\r\nx\r\n');
    const page = await app.get('/displayspam.cgi?anything=key1.txt&s={s}');
    assert.match(page, /^Subject: a b ! & %40\r\n<br>/);
    app.remove('spam/key1.txt');
  });

  test('AreDecodedByTheTableAndNothingElse', async () => {
    app.write('data/subjectlist.txt', '');
    // The entry goes to lower case before it is decoded, and rows with letters in them match no more.
    await app.post('/addtolist.cgi?s={s}', 'addtolist=a+b%21%2Bc%2fd%26%40%7e&type=subjectlist&END=1');
    assert.equal(app.read('data/subjectlist.txt'), 'a b!%2bc%2fd&@%7e\r\n');
  });
});

describe('forms', () => {
  test('ThatComeInPiecesAreWaitedFor', async () => {
    app.write('spam/key1.txt', 'Subject: one\r\n\r\nx\r\n');
    app.write('spam/key2.txt', 'Subject: two\r\n\r\nx\r\n');
    const page = await app.get('/displayspambox.htm?s={s}');
    const row = /<input name='D(\d+)'/.exec(page.split("<tr class='tableBGcolor").slice(1).find((part) => part.includes('two')))[1];
    const start = Date.now();
    const answer = await new Promise((resolve, reject) => {
      const socket = net.connect(app.port, '127.0.0.1');
      let received = '';
      socket.on('data', (data) => { received += data; });
      socket.on('error', reject);
      socket.on('end', () => resolve(received));
      socket.write(`POST /deleterestore.cgi?s=${app.sessionId} HTTP/1.0\r\n\r\n`);
      setTimeout(() => socket.write(boxesForm(`D${row}`)), 1000);
    });
    assert.equal(answer, `<script language='Javascript'>window.location='displayspambox.htm?s=${app.sessionId}'</script>\r\n`);
    assert.ok(Date.now() - start >= 4900, 'two seconds, and one and a half until two looks agree');
    assert.deepEqual(Object.keys(app.spamBox()), ['key1.txt']);
    app.remove('spam/key1.txt');
  });

  test('OfTheInboxAreWaitedForFiveSeconds', async () => {
    const start = Date.now();
    const answer = await app.post('/delete.cgi?s={s}', 'SUBMIT3=DELETE&END=1');
    assert.equal(answer, `<script language='Javascript'>window.location='displayinbox.htm?s=${app.sessionId}'</script>\r\n`);
    assert.ok(Date.now() - start >= 4900);
  });
});

describe('templates', () => {
  const minutes = '(?:25|24)';  // a minute may end between the login and the page

  test('AreReadAfreshAndFilledWhateverTheirLetterCase', async () => {
    const shipped = [app.read('data/config.htm'), app.read('data/top.inc')];
    app.write('data/top.inc', '[<!--ssSESSION-->]');
    app.write('data/config.htm', '<html><HeAd><title>a</TITLE><title>b</title></head><!--sstop--><!--SSTOP--><!--sspagedesc-->');
    const page = await app.get('/config.htm?s={s}');
    const reload = "<html><head>\\r\\n<meta http-equiv='refresh' content='(?:1500|1440)'>\\r\\n";
    assert.match(page, new RegExp(`^${reload}<title>a \\(${minutes}m\\)</title><title>b \\(${minutes}m\\)</title></head>` +
      `(?:\\[${app.sessionId}\\]){2}Config\\r\\n$`));
    app.write('data/config.htm', 'edited');
    assert.equal(await app.get('/config.htm?s={s}'), 'edited\r\n');
    app.remove('data/config.htm');
    assert.equal(await app.get('/config.htm?s={s}'), '\r\n');
    app.write('data/config.htm', '<!--SSTOP-->.');
    app.remove('data/top.inc');
    assert.equal(await app.get('/config.htm?s={s}'), '.\r\n');
    app.write('data/config.htm', shipped[0]);
    app.write('data/top.inc', shipped[1]);
  });

  test('OfTheLoginPageShowTheVersionAndNoMinutes', async () => {
    const page = await app.get('/');
    assert.match(page, /1\.0\.0/);
    assert.doesNotMatch(page, /\(\d+m\)<\/title>|http-equiv='refresh'/i);
  });
});
