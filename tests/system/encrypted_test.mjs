// Filter runs, restores and the settings page's test over encrypted connections to real mail servers; servers and lines that
// must not get the password; certificates that are accepted by hand.

import assert from 'node:assert/strict';
import http from 'node:http';
import net from 'node:net';
import { after, before, describe, test } from 'node:test';

import { redirectTarget } from '../support/bare_http.mjs';
import { Dovecot } from '../support/dovecot.mjs';
import { faultRun } from '../support/fault_run.mjs';
import { boxesForm, settingsForm } from '../support/forms.mjs';
import { statusOf } from '../support/gateway_http.mjs';
import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { friendly, largeMailbox, smallMailbox, spam } from '../support/mails.mjs';
import { Postfix } from '../support/postfix.mjs';
import { freePort, until } from '../support/tools.mjs';
import { certificates } from '../support/trusted.mjs';

const environment = certificates.environment();
const good = certificates.make({ names: ['IP:127.0.0.1', 'DNS:localhost'] });
const nobodys = certificates.authority('Nobody', { issuer: 'self' });
const untrusted = certificates.make({ names: ['IP:127.0.0.1'], issuer: nobodys });

const notLoggedOn = /^\*\*Cannot log onto POP3 server\. Will try again in 30 mins\.$/;
const shown = (certificate) => certificate.fingerprint.toUpperCase().match(/../g).join(':');

// A request through the gateway: { status, body }.
function ask(app, method, target, body = '') {
  return new Promise((resolve, reject) => {
    const request = http.request({ host: '::1', port: app.port, method, path: target.replace('{s}', app.sessionId),
      headers: { Host: `localhost:${app.port}`, 'Content-Length': Buffer.byteLength(body), Connection: 'close' } }, (answer) => {
      const pieces = [];
      answer.on('data', (data) => pieces.push(data));
      answer.on('end', () => resolve({ status: answer.statusCode, body: Buffer.concat(pieces).toString('latin1') }));
    });
    request.on('error', reject);
    request.end(body);
  });
}

async function withServer(options, settings, work) {
  const server = await MailServer.start(options);
  let app;
  try {
    app = await Application.start({ environment, ...settings(server) });
    await app.login();
    await work(app, server);
  } finally {
    await app?.stop();
    await server.stop();
  }
}

// ---- real servers ----

for (const [name, fields] of Object.entries({
  EncryptedAtOnce: (dovecot, postfix) => ({
    POP_SERVER: `tls://127.0.0.1:${dovecot.tlsPort}`, SMTP_SERVER: `tls://127.0.0.1:${postfix.tlsPort}` }),
  EncryptedByStlsAndStarttls: (dovecot, postfix) => ({
    POP_SERVER: `starttls://localhost:${dovecot.port}`, SMTP_SERVER: `starttls://localhost:${postfix.port}` }),
})) {
  describe(name, () => {
    let dovecot;
    let postfix;
    let app;
    before(async () => {
      dovecot = await Dovecot.start({ tls: good,
        messages: [friendly('kept'), spam('one', 'body\r\n.lead\r\n.\r\n..\r\nend\r\n'), spam('two')] });
      postfix = await Postfix.start(dovecot, { tls: good });
      app = await Application.start({ environment, settings: { ...fields(dovecot, postfix),
        SMTP_USER: 'joe', SMTP_PASSWORD: 'secret', EMAIL_ADDRESS: `joe@${postfix.domain}` } });
      await app.login();
    });
    after(async () => {
      await app?.stop();
      await postfix?.stop();
      await dovecot?.stop();
    });

    test('TheWholeFilterRunSavesByteForByteAndDeletes', async () => {
      const stored = dovecot.messages();
      const result = await app.filterMail();
      assert.equal(result, 'Mail filtered:  1 msgs.  2 spam.',
        `${app.log()}\n${JSON.stringify((await statusOf(app)).pop)}\n${dovecot.log()}`);
      const saved = Object.values(app.spamBox()).map((data) => data.toString('latin1')).sort();
      assert.deepEqual(saved, stored.slice(1).map((data) => data.toString('latin1') + '\r\n').sort());
      assert.equal(dovecot.messages().length, 1);
      assert.match(dovecot.log(), /Login: user=<joe>[^\n]*, TLS/);
      assert.doesNotMatch(app.log(), /\*\*TLS/);
    });

    test('TheSettingsTestLogsOnToBoth', async () => {
      const page = await app.post('/configupdate.cgi?s={s}', settingsForm());
      assert.equal(redirectTarget(page), `config.htm?s=${app.sessionId}`);
      assert.doesNotMatch(page, /alert/);
      assert.doesNotMatch(await app.get('/config.htm?s={s}'), /class="note" id="(POP3|SMTP)-note"/);
    });

    test('ARestoredMessageTravelsEncryptedAndAuthenticated', async () => {
      const page = await app.get('/displayspambox.htm?s={s}');
      const row = /<input name='R(\d+)'/.exec(page)[1];
      await app.post('/deleterestore.cgi?s={s}', boxesForm(`R${row}`), { milliseconds: 60000 });
      await until(() => dovecot.messages().length === 2, () => `the restored message\n${app.log()}\n${postfix.log()}`, 20000);
      const restored = dovecot.messages().map(String).find((text) => /^Received:/m.test(text));
      assert.match(restored, /with ESMTPSA/, 'TLS, and a log-on');
      assert.match(restored, /using TLSv1\.[23]/);
    });

    test('AWrongPasswordIsToldInTheServersWords', async () => {
      await app.login();
      const page = await app.post('/configupdate.cgi?s={s}', settingsForm({ SMTP_PASSWORD: 'wrong' }), { milliseconds: 60000 });
      assert.match(page, /alert\('Cannot log onto SMTP Server!'\);window/);
      const settings = await app.get('/config.htm?s={s}');
      assert.match(settings, /<b>SMTP:<\/b> While logging on, [^<]* said: &quot;535 /);
      assert.doesNotMatch(await app.post('/configupdate.cgi?s={s}', settingsForm({ SMTP_PASSWORD: 'secret' }),
        { milliseconds: 60000 }), /alert/);
    });
  });
}

// ---- who must not get the password ----

// A line on which somebody answers for the server: answer(line) gives what the client hears instead, or undefined.
async function manInBetween(target, answer) {
  const sockets = new Set();
  const heard = [];
  const server = net.createServer((near) => {
    const far = net.connect(target, '127.0.0.1');
    for (const socket of [near, far]) { sockets.add(socket); socket.on('error', () => {}); }
    far.on('data', (data) => near.write(data));
    far.on('close', () => near.destroy());
    near.on('close', () => far.destroy());
    near.on('data', (data) => {
      heard.push(data.toString('latin1'));
      const instead = answer(data.toString('latin1'));
      if (instead !== undefined) near.write(instead); else far.write(data);
    });
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  return { port: server.address().port, heard,
    close() { server.close(); for (const socket of sockets) socket.destroy(); } };
}

describe('a man in between', () => {
  for (const [name, [answer, line]] of Object.entries({
    WhoStripsStlsLearnsNothing: ['-ERR unknown command\r\n', /^\*\*TLS to 127\.0\.0\.1: not offered \(-ERR unknown command\)$/],
    WhoInjectsBehindTheAnswerLearnsNothing: ['+OK go on\r\n+OK welcome\r\n',
      /^\*\*TLS to 127\.0\.0\.1: plain text where the encryption should begin/],
    WhoAgreesAndSpeaksOnInPlainTextLearnsNothing: ['+OK go on\r\n', null],
  })) {
    test(name, async () => {
      const dovecot = await Dovecot.start({ tls: good, messages: [spam('one')] });
      const man = await manInBetween(dovecot.port, (said) => (said.startsWith('STLS') ? answer : undefined));
      let app;
      try {
        app = await Application.start({ environment, settings: { POP_SERVER: `starttls://127.0.0.1:${man.port}` } });
        await app.login();
        assert.match(await app.filterMail({ milliseconds: 60000 }), notLoggedOn);
        const events = app.events();
        if (line) assert.match(events[events.findIndex((event) => notLoggedOn.test(event)) + 1], line);
        assert.equal(man.heard[0], 'STLS\r\n');
        for (const said of man.heard.slice(1)) assert.equal(said.charCodeAt(0), 0x16, 'a handshake and nothing else');
        assert.doesNotMatch(man.heard.join(''), /USER|PASS|QUIT|secret/);
        assert.equal(dovecot.messages().length, 1);
        assert.ok(await app.isServing());
      } finally {
        await app?.stop();
        man.close();
        await dovecot.stop();
      }
    });
  }

  test('WhoStripsStarttlsGetsNeitherPasswordNorMail', () => withServer({ smtp: {} },
    (server) => ({ settings: { SMTP_SERVER: `starttls://127.0.0.1:${server.smtpPort}`, SMTP_USER: 'joe', SMTP_PASSWORD: 'secret' } }),
    async (app, server) => {
      const page = await app.post('/configupdate.cgi?s={s}', settingsForm(), { milliseconds: 60000 });
      assert.match(page, /alert\('Cannot log onto SMTP Server!'\)/);
      assert.deepEqual(server.smtp.commands(), ['EHLO [127.0.0.1]', 'STARTTLS']);
      assert.match(app.log(), /\*\*TLS to 127\.0\.0\.1: not offered/);
    }));

  test('APortThatSpeaksNoTlsIsToldSoAtOnce', () => withServer({},
    (server) => ({ settings: { POP_SERVER: `tls://127.0.0.1:${server.popPort}` } }),
    async (app) => {
      const start = Date.now();
      assert.match(await app.filterMail(), notLoggedOn);
      assert.ok(Date.now() - start < 5000);
      assert.match(app.log(), /\*\*TLS to 127\.0\.0\.1: not spoken at that port/);
    }));
});

// ---- certificates ----

describe('a certificate', () => {
  test('OfAnAuthorityThatNobodyKnowsIsRefusedThenAcceptedByHandAndAnotherOneIsRefusedAgain', async () => {
    const port = await freePort();
    const other = certificates.make({ names: ['IP:127.0.0.1'], issuer: nobodys, kind: 'ec' });
    let server = await MailServer.start({ messages: smallMailbox(), tls: untrusted, pop: { port } });
    let app;
    try {
      app = await Application.start({ environment, settings: { POP_SERVER: `tls://127.0.0.1:${port}` } });
      await app.login();
      assert.match(await app.filterMail(), notLoggedOn);
      assert.equal(app.events().at(-2), `**TLS to 127.0.0.1: certificate not trusted, SHA-256 ${shown(untrusted)}`);
      assert.deepEqual(server.pop.commands(), []);

      // The plain wire tells it and offers nothing; the browser's page offers exactly this one.
      const plain = await app.get('/config.htm?s={s}');
      assert.ok(plain.includes(shown(untrusted)));
      assert.doesNotMatch(plain, /acceptcertificate/i);
      const page = (await ask(app, 'GET', '/config.htm?s={s}')).body;
      assert.ok(page.includes(`name="FINGERPRINT" value="${untrusted.fingerprint}"`), page);
      const form = (fingerprint) => `SERVER=POP3&FINGERPRINT=${fingerprint}&END=1`;
      await ask(app, 'POST', '/acceptcertificate.cgi?s={s}', form(other.fingerprint));
      assert.ok(!app.exists('tls-certificates.txt'), 'another one is not accepted');
      assert.match(await app.post('/acceptcertificate.cgi?s={s}', form(untrusted.fingerprint)), /Unrecognized page/);
      assert.ok(!app.exists('tls-certificates.txt'), 'the plain wire knows no such action');
      const accepted = await ask(app, 'POST', '/acceptcertificate.cgi?s={s}', form(untrusted.fingerprint));
      assert.doesNotMatch(accepted.body, /POP3 Server/);
      assert.equal(app.read('tls-certificates.txt'), `127.0.0.1:${port} ${untrusted.fingerprint}\r\n`);
      assert.equal(await app.filterMail(), 'Mail filtered:  2 msgs.  3 spam.');

      // Another certificate at the same place.
      await server.stop();
      server = await MailServer.start({ messages: smallMailbox(), tls: other, pop: { port } });
      assert.match(await app.filterMail(), notLoggedOn);
      assert.equal(app.events().at(-2), '**TLS to 127.0.0.1: certificate is not the accepted one, accepted SHA-256 ' +
        `${shown(untrusted)}, shown SHA-256 ${shown(other)}`);
      assert.deepEqual(server.pop.commands(), []);
    } finally {
      await app?.stop();
      await server.stop();
    }
  });

  // The chain builder of a system may fetch an issuer that a certificate names. No proxy hides it here.
  test('WhoseIssuerAddressIsTheProgramsOwnEndDoesNotEndIt', async () => {
    const port = await freePort();
    const middle = certificates.authority('Middle');
    const trap = certificates.make({ names: ['IP:127.0.0.1'], issuer: middle, sends: false,
      extensions: ['basicConstraints=CA:FALSE', `authorityInfoAccess=caIssuers;URI:http://127.0.0.1:${port}/UNLOADME`] });
    const server = await MailServer.start({ messages: smallMailbox(), tls: trap });
    let app;
    try {
      app = await Application.start({ environment: { ...environment, http_proxy: '' },
        settings: { POP_SERVER: `tls://127.0.0.1:${server.popPort}`, HTTP_PORT_CFG: port } });
      assert.equal(app.port, port);
      await app.login();
      assert.match(await app.filterMail(), notLoggedOn);
      assert.match(app.events().at(-2), /^\*\*TLS to 127\.0\.0\.1: certificate not trusted/);
      assert.match(await app.filterMail(), notLoggedOn);
      assert.equal(app.process.ended, null);
      assert.doesNotMatch(app.log(), /Closing Vornelle/);
      assert.deepEqual(server.pop.commands(), []);
    } finally {
      await app?.stop();
      await server.stop();
    }
  });
});

// ---- faults behind TLS: no message is gone that is not whole in the SpamBox ----

describe('an encrypted line', { concurrency: 3 }, () => {
  const verbs = ['GREETING', 'USER', 'PASS', 'LIST', 'UIDL', 'TOP', 'RETR', 'DELE', 'QUIT'];
  const run = (options, check) => faultRun({ tls: good, environment, ...options }, check);
  for (const verb of verbs) {
    test(`EndedAt${verb}`, () => run({ pop: { faults: [{ verb, cut: true }] } }));
    test(`EndedInTheMiddleOfTheAnswerTo${verb}`, () => run({ pop: { faults: [{ verb, cut: 'middle' }] } }));
  }
  for (const verb of ['UIDL', 'RETR', 'DELE']) {
    test(`EndedAtTheSecond${verb}`, () => run({ pop: { faults: [{ verb, nth: 2, cut: 'middle' }] } }));
    test(`RefusedAt${verb}`, () => run({ pop: { faults: [{ verb, error: true }] } }));
  }

  // Cut without a word of TLS, at bytes of the encrypted line.
  test('CutAtManyAByteLosesNothing', async () => {
    let whole = 0;
    await run({ line: {}, recover: false }, ({ between }) => { whole = between.passed; });
    assert.ok(whole > 4000, `${whole} bytes`);
    const places = [];
    for (let at = 1; at < whole; at += at < 3000 ? 499 : 173) places.push(at);
    const worker = async () => {
      for (let at = places.shift(); at !== undefined; at = places.shift()) {
        await run({ line: { upTo: at, then: at % 2 ? 'cut' : 'reset' }, recover: false });
      }
    };
    await Promise.all([worker(), worker(), worker()]);
  });
});

// ---- the same while many commands are under way ----

describe('a series on an encrypted line', { concurrency: 3 }, () => {
  const messages = () => largeMailbox(80);
  const run = (options, check) => faultRun({ tls: good, environment, messages: messages(), ...options }, check);
  const nothingDeleted = ({ server }) => assert.equal(server.maildrop.messages.length, 80);

  test('IsFetchedAheadAndTakenWhole', () => run({ recover: false }, ({ server, line }) => {
    assert.equal(line, 'Mail filtered:  20 msgs.  60 spam.');
    const commands = server.pop.commands();
    const first = commands.findIndex((command) => command.startsWith('DELE'));
    assert.ok(commands.slice(0, first).filter((command) => command.startsWith('RETR')).length > 30, commands.join(' '));
    assert.equal(commands.at(-1), 'QUIT');
    assert.equal(server.maildrop.messages.length, 20);
  }));
  for (const verb of ['RETR', 'UIDL', 'DELE']) {
    test(`CutInTheMiddleAtThe40th${verb}`, () => run({ pop: { faults: [{ verb, nth: 40, cut: 'middle' }] } }, nothingDeleted));
  }
  test('OfAServerThatRefusesOneDeletion', () => run({ pop: { faults: [{ verb: 'DELE', nth: 5, error: true }] } },
    ({ server }) => assert.equal(server.maildrop.messages.length, 21)));
  test('OfAServerThatAnswersLate', () => run({ pop: { late: 5 }, recover: false },
    ({ line }) => assert.equal(line, 'Mail filtered:  20 msgs.  60 spam.')));

  // Behind the headers, without a word of TLS: in the middle of a record, between two, before the answer to QUIT.
  test('CutAtManyAByteLosesNothing', async () => {
    let listed = 0, whole = 0;
    await run({ line: {}, recover: false,
      pop: { faults: [{ verb: 'RETR', nth: 1, before: ({ server }) => { listed = server.between.passed; } }] },
    }, ({ between }) => { whole = between.passed; });
    assert.ok(listed > 3000 && whole > listed + 10000, `${listed} ${whole}`);
    const places = Array.from({ length: 14 }, (_, i) => whole - 1 - Math.round((whole - listed) * i / 14));
    const worker = async () => {
      for (let at = places.shift(); at !== undefined; at = places.shift()) {
        await run({ line: { upTo: at, then: at % 2 ? 'cut' : 'reset' }, recover: false },
          ({ server }) => { if (at < whole - 200) assert.equal(server.maildrop.messages.length, 80, `cut at ${at} of ${whole}`); });
      }
    };
    await Promise.all([worker(), worker(), worker()]);
  });
});
