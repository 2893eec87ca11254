// Mail goes back from the SpamBox to the mailbox through a real Postfix, and nowhere through one that refuses; the
// settings page's test of the mail servers.

import assert from 'node:assert/strict';
import { after, before, beforeEach, describe, test } from 'node:test';

import { redirectTarget } from '../support/bare_http.mjs';
import { Dovecot } from '../support/dovecot.mjs';
import { boxesForm, settingsForm } from '../support/forms.mjs';
import { ask } from '../support/gateway_http.mjs';
import { Application } from '../support/harness.mjs';
import { onLane } from '../support/lane.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { friendly, spam } from '../support/mails.mjs';
import { Postfix } from '../support/postfix.mjs';
import { until } from '../support/tools.mjs';

// The row of the SpamBox page (the newest is 0) whose subject contains the text.
async function rowOf(app, text) {
  const page = await app.get('/displayspambox.htm?s={s}');
  const row = page.split("<tr class='tableBGcolor2'>").slice(1).find((part) => part.includes(text));
  assert.ok(row, `no row with ${text}`);
  return /<input name='R(\d+)'/.exec(row)[1];
}

// Sends the form through the gateway, which needs no wait for more of it; the page that the answer leads to.
async function sendBoxes(app, ...boxes) {
  const { body } = await ask(app, '/deleterestore.cgi?s={s}', { method: 'POST', body: boxesForm(...boxes) });
  return redirectTarget(body.replace(/<noscript>.*\r\n$/, ''));
}

describe('with postfix', () => {
  let dovecot;
  let postfix;
  let app;
  before(async () => {
    dovecot = await Dovecot.start({ messages: [friendly('kept'), spam('one', 'body\r\n.lead\r\n.\r\n..\r\nend\r\n'), spam('two')] });
    postfix = await Postfix.start(dovecot);
    app = await Application.start({ settings: {
      POP_SERVER: `127.0.0.1:${dovecot.port}`, SMTP_SERVER: `127.0.0.1:${postfix.port}`,
      SMTP_USER: 'joe', SMTP_PASSWORD: 'secret', EMAIL_ADDRESS: `joe@${postfix.domain}`,
    } });
    await app.login();
    await app.filterMail();
  });
  beforeEach(() => app.login());
  after(async () => {
    await app?.stop();
    await postfix?.stop();
    await dovecot?.stop();
  });

  test('TheSettingsTestLogsOn', async () => {
    const page = await app.post('/configupdate.cgi?s={s}', settingsForm());
    assert.equal(redirectTarget(page), `config.htm?s=${app.sessionId}`);
    assert.doesNotMatch(page, /alert/);
  });

  test('TheSettingsTestTellsAWrongSmtpPassword', async () => {
    const page = await app.post('/configupdate.cgi?s={s}', settingsForm({ SMTP_PASSWORD: 'wrong' }));
    assert.match(page, /alert\('Cannot log onto SMTP Server!'\);window/);
    assert.doesNotMatch(page, /POP3/);
    assert.doesNotMatch(await app.post('/configupdate.cgi?s={s}', settingsForm({ SMTP_PASSWORD: 'secret' })), /alert/);
  });

  test('ARestoredMessageIsInTheMailboxAgain', async () => {
    assert.equal(dovecot.messages().length, 1);
    const row = await rowOf(app, 'spam-one');
    const page = await app.post('/deleterestore.cgi?s={s}', boxesForm(`R${row}`));
    assert.equal(redirectTarget(page), `displayspambox.htm?s=${app.sessionId}`);
    assert.ok(app.events().includes('Restore msg from Sam <sam@spam-one.example> to InBox'), `${app.log()}\n${postfix.log()}`);
    const mails = await until(() => dovecot.messages().length === 2 && dovecot.messages(), () => `delivery\n${postfix.log()}`);
    const back = mails.map((message) => message.toString('latin1').replaceAll('\r\n', '\n')).find((m) => m.includes('spam-one'));
    // The file's closing line end travels with it.
    const sent = spam('one', 'body\r\n.lead\r\n.\r\n..\r\nend\r\n').toString('latin1').replaceAll('\r\n', '\n') + '\n';
    assert.ok(back.endsWith(sent), back);
    assert.match(back, /^Return-Path: <sam@spam-one\.example>$/m);
    assert.equal(Object.keys(app.spamBox()).length, 2, 'the SpamBox keeps its file');
  });

  test('AFriendsRestoredMailSurvivesTheNextRun', async () => {
    const before = dovecot.messages().length;
    await sendBoxes(app, `R${await rowOf(app, 'spam-two')}`);
    await until(() => dovecot.messages().length === before + 1, () => `delivery\n${postfix.log()}`);
    await app.post('/add2white.cgi?s={s}', 'ADDTOLIST=spam-two.example&END=1');
    await app.filterMail();
    assert.ok(dovecot.messages().some((message) => message.includes('spam-two')));
  });

  test('ADeletedFileIsGone', async () => {
    const count = Object.keys(app.spamBox()).length;
    await sendBoxes(app, `D${await rowOf(app, 'spam-two')}`);
    assert.ok(app.events().includes('Delete spam from Sam <sam@spam-two.example>'));
    assert.equal(Object.keys(app.spamBox()).length, count - 1);
  });
});

describe('with a scripted server', { concurrency: 4 }, () => {
  const restoreThrough = (smtp, settings, check) => onLane(
    { messages: [spam('one', 'body\r\n.lead\r\n.\r\nend\r\n')], smtp, settings, sends: true }, async ({ app, server }) => {
      await app.login();
      await app.filterMail();
      const file = Object.values(app.spamBox())[0];
      await app.get('/displayspambox.htm?s={s}');
      assert.equal(await sendBoxes(app, 'R0'), `displayspambox.htm?s=${app.sessionId}`);
      assert.deepEqual(Object.values(app.spamBox()), [file], 'the SpamBox keeps its file whatever happened');
      assert.ok(await app.isServing());
      await check(app, server, file);
    });
  const logOn = { SMTP_USER: 'joe', SMTP_PASSWORD: 'secret' };
  const restored = 'Restore msg from Sam <sam@spam-one.example> to InBox';
  const problem = 'Problem restoring msg from Sam <sam@spam-one.example> to InBox';

  for (const [what, smtp, settings] of [
    ['WithALogOn', {}, logOn],
    ['WithoutALogOnWhereNoUserIsSet', { user: undefined }, {}],
    ['ThroughAServerThatKnowsOnlyHelo', { user: undefined, lacks: ['EHLO'] }, {}],
  ]) {
    test(`AMessageIsRestoredByteForByte${what}`, () => restoreThrough(smtp, settings, (app, server, file) => {
      assert.ok(app.events().includes(restored), app.log());
      assert.equal(server.delivered.length, 1);
      assert.deepEqual(server.delivered[0].data, file);
      assert.deepEqual([server.delivered[0].from, server.delivered[0].to], ['sam@spam-one.example', ['joe@home.example']]);
      assert.equal(server.smtp.count('QUIT'), 1);
      assert.equal(server.smtp.count('AUTH'), settings === logOn ? 1 : 0);
    }));
  }

  test('TheLogTellsOfTheRestoreBeforeTheServerAnswersTheGoodBye', async () => {
    const server = await MailServer.start({ messages: [spam('one')], smtp: { faults: [{ verb: 'QUIT', stall: true }] } });
    const app = await Application.start({ settings: {
      POP_SERVER: `127.0.0.1:${server.popPort}`, SMTP_SERVER: `127.0.0.1:${server.smtpPort}`, ...logOn } });
    let answer;
    try {
      await app.login();
      await app.filterMail();
      await app.get('/displayspambox.htm?s={s}');
      answer = sendBoxes(app, 'R0');
      answer.catch(() => {});
      await until(() => server.smtp.count('QUIT') === 1, 'the good-bye', 15000);
      assert.ok(app.events().includes(restored), app.log());
    } finally {
      await server.stop();
      await answer;
      await app.stop();
    }
  });
  test('AnUnreachableServerIsLogged', () => restoreThrough({}, { SMTP_SERVER: '127.0.0.1:1' },
    (app) => assert.ok(app.events().includes('**Cannot connect to SMTP server!'))));
  test('AWrongPasswordIsLogged', () => restoreThrough({}, { ...logOn, SMTP_PASSWORD: 'wrong' }, (app, server) => {
    assert.ok(app.events().includes('**Cannot log onto SMTP server!'));
    assert.equal(server.delivered.length, 0);
  }));
  for (const verb of ['GREETING', 'AUTH', 'AUTH-USER', 'AUTH-PASSWORD', 'MAIL', 'RCPT', 'DATA', 'BODY']) {
    for (const fault of [{ error: true }, { cut: true }, { cut: 'middle' }]) {
      const [kind] = Object.entries(fault)[0];
      const title = fault.cut === 'middle' ? `ALineCutInTheMiddleOfTheAnswerTo${verb}` : `${kind === 'cut' ? 'ALineCutAt' : 'ARefused'}${verb}`;
      test(`${title}IsLoggedAsAFailure`, () => restoreThrough({ faults: [{ verb, ...fault }] }, logOn, (app) => {
        const events = app.events();
        assert.ok(!events.includes(restored), app.log());
        assert.ok(events.some((event) => event === problem || /^\*\*Cannot (connect to|log onto) SMTP server!$/.test(event)));
      }));
    }
  }
  test('ABrokenQuitDoesNotMakeASentMessageUnsent', () => restoreThrough({ faults: [{ verb: 'QUIT', cut: true }] }, logOn,
    (app) => assert.ok(app.events().includes(restored))));
});
