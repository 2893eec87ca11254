// The servers that the other tests lean on do what those tests take for granted.

import assert from 'node:assert/strict';
import net from 'node:net';
import { after, before, describe, test } from 'node:test';

import { DelayProxy } from '../support/delay_proxy.mjs';
import { Dovecot } from '../support/dovecot.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { Postfix } from '../support/postfix.mjs';
import { converse, until } from '../support/tools.mjs';

const LOG_ON = ['USER joe', 'PASS secret'];
const hello = (n) => `From: <a${n}@example.com>\r\nSubject: ${n}\r\n\r\n.dot\r\nline ${n}\r\n`;
const base64 = (text) => Buffer.from(text).toString('base64');

async function withServer(options, work) {
  const server = await MailServer.start(options);
  try { await work(server); } finally { await server.stop(); }
}

describe('scripted server', () => {
  test('ServesTheMaildropByTheBook', () => withServer({ messages: [hello(1), hello(2)] }, async (server) => {
    const said = await converse(server.popPort,
      ['CAPA', ...LOG_ON, 'STAT', 'LIST', 'UIDL 2', 'TOP 1 1', 'RETR 2', 'RETR 3', 'NOOP', 'XYZ', 'QUIT']);
    assert.match(said, /PIPELINING/);
    assert.match(said, /\+OK 2 104\r\n\+OK\r\n1 52\r\n2 52\r\n\.\r\n/);
    assert.ok(said.includes(`+OK 2 ${server.maildrop.uids()[1]}\r\n`));
    assert.ok(said.includes('+OK\r\nFrom: <a1@example.com>\r\nSubject: 1\r\n\r\n..dot\r\n.\r\n'));
    assert.ok(said.includes('\r\n\r\n..dot\r\nline 2\r\n.\r\n-ERR no such message\r\n+OK\r\n-ERR unknown'));
  }));

  test('DeletesOnlyAfterQuit', () => withServer({ messages: [hello(1), hello(2), hello(3)] }, async (server) => {
    const socket = net.connect(server.popPort, '127.0.0.1');
    socket.write([...LOG_ON, 'DELE 1', ''].join('\r\n'));
    await until(() => server.pop.count('DELE') === 1, 'DELE');
    socket.destroy();
    await converse(server.popPort, [...LOG_ON, 'DELE 2', 'RSET', 'DELE 3', 'QUIT']);
    assert.deepEqual(server.maildrop.messages.map((m) => m.data.toString().match(/Subject: (.)/)[1]), ['1', '2']);
  }));

  test('CutsStallsRefusesAndBabblesWhereTheScriptSaysSo', () => withServer({
    messages: [hello(1), hello(2)],
    pop: { faults: [
      { session: 1, verb: 'RETR', nth: 2, cut: 'middle' },
      { session: 2, verb: 'PASS', error: '[IN-USE] later' },
      { session: 3, verb: 'LIST', cut: true },
      { session: 4, verb: 'UIDL', cut: -1 },
      { session: 5, verb: 'STAT', answer: '+OK -7 what\n' },
    ] },
  }, async (server) => {
    const whole = '+OK\r\n' + hello(1).replace('\r\n.', '\r\n..') + '.\r\n';
    const first = await converse(server.popPort, [...LOG_ON, 'RETR 1', 'RETR 2', 'QUIT']);
    assert.equal(first.length, '+OK ready\r\n+OK\r\n+OK\r\n'.length + whole.length + Math.floor(whole.length / 2));
    assert.match(await converse(server.popPort, [...LOG_ON, 'QUIT']), /-ERR \[IN-USE\] later\r\n\+OK\r\n$/);
    assert.ok((await converse(server.popPort, [...LOG_ON, 'LIST', 'QUIT'])).endsWith('+OK\r\n+OK\r\n'));
    assert.ok((await converse(server.popPort, [...LOG_ON, 'UIDL', 'QUIT'])).endsWith('\r\n.\r'));
    assert.match(await converse(server.popPort, [...LOG_ON, 'STAT', 'QUIT']), /\+OK -7 what\n\+OK\r\n$/);
    assert.deepEqual(server.pop.sessions[2].commands, [...LOG_ON, 'LIST']);
  }));

  test('CutsAtTheNthByteOfTheSession', () => withServer({ messages: [hello(1)], pop: { cutAtByte: 13 } },
    async (server) => {
      assert.equal(await converse(server.popPort, [...LOG_ON, 'QUIT']), '+OK ready\r\n+O');
    }));

  test('BabblesWithoutEndAsLongAsSomeoneReads', () => withServer(
    { messages: [hello(1)], pop: { faults: [{ verb: 'LIST', endless: '1 1\r\n' }] } }, async (server) => {
      const socket = net.connect(server.popPort, '127.0.0.1');
      let got = 0;
      socket.on('data', (data) => { got += data.length; });
      socket.write([...LOG_ON, 'LIST', ''].join('\r\n'));
      await until(() => got > 3e6, 'three megabytes');
      socket.destroy();
    }));

  test('TakesMailFromWhoLogsOnIntoTheMaildrop', () => withServer({}, async (server) => {
    const said = await converse(server.smtpPort, ['HELO me', 'MAIL FROM:<x@y.example>', 'AUTH LOGIN', base64('joe'),
      base64('secret'), 'MAIL FROM:<x@y.example>', 'RCPT TO:<joe@home.example>', 'DATA', 'Subject: s', '', '..dot', '.',
      'QUIT']);
    assert.deepEqual(said.match(/^\d+/gm), ['220', '250', '530', '334', '334', '235', '250', '250', '354', '250', '221']);
    assert.equal(server.maildrop.messages[0].data.toString(), 'Subject: s\r\n\r\n.dot\r\n');
    assert.deepEqual(server.delivered[0].to, ['joe@home.example']);
    assert.match(await converse(server.smtpPort, ['EHLO me', 'AUTH LOGIN', base64('joe'), base64('no'), 'QUIT']),
      /AUTH LOGIN[^]*535 /);
  }));
});

test('TheDelayProxyAddsItsDelayToEachDirection', () => withServer({ messages: [hello(1)] }, async (server) => {
  const proxy = await DelayProxy.start(server.popPort, 40);
  try {
    const start = Date.now();
    assert.match(await converse(proxy.port, [...LOG_ON, 'QUIT']), /^\+OK ready\r\n(\+OK\r\n){3}$/);
    assert.ok(Date.now() - start >= 80, `${Date.now() - start} ms`);
  } finally {
    await proxy.stop();
  }
}));

describe('real servers', () => {
  let dovecot;
  let postfix;
  before(async () => {
    dovecot = await Dovecot.start({ messages: [hello(1), hello(2)] });
    postfix = await Postfix.start(dovecot);
  });
  after(async () => {
    await postfix?.stop();
    await dovecot?.stop();
  });

  test('DovecotServesItsMaildirAndDeletesAfterQuit', async () => {
    const said = await converse(dovecot.port, ['USER joe', 'PASS secret', 'UIDL', 'RETR 1', 'DELE 1', 'QUIT']);
    assert.match(said, /\r\n1 \S+\r\n2 \S+\r\n\.\r\n/);
    assert.ok(said.includes(hello(1).replace('\r\n.', '\r\n..') + '.\r\n'));
    assert.deepEqual(dovecot.messages().map(String), [hello(2)]);
    assert.match(await converse(dovecot.port, ['USER joe', 'PASS wrong', 'QUIT']), /-ERR \[AUTH\]/);
  });

  test('PostfixTakesMailFromWhoLogsOnAndDovecotHasIt', async () => {
    const speak = (...lines) => new Promise((resolve) => {
      // Postfix minds a client that talks before its turn: one line for each answer.
      const socket = net.connect(postfix.port, '127.0.0.1');
      let said = '';
      let turn = '';
      socket.on('data', (data) => {
        said += data;
        turn += data;
        if (!/^\d+ .*\r\n$/m.test(turn)) return;
        turn = '';
        const line = lines.shift();
        if (line !== undefined) socket.write(line + '\r\n');
      });
      socket.on('close', () => resolve(said));
    });
    const envelope = ['MAIL FROM:<x@far.example>', 'RCPT TO:<joe@home.example>'];
    assert.match(await speak('EHLO me', ...envelope, 'QUIT'), /\b55[0-9] /);
    assert.match(await speak('EHLO me', 'AUTH LOGIN', base64('joe'), base64('wrong'), 'QUIT'), /\b535 /);
    const said = await speak('EHLO me', 'AUTH LOGIN', base64('joe'), base64('secret'), ...envelope, 'DATA',
      'Subject: back again\r\n\r\nhello\r\n.', 'QUIT');
    assert.match(said, /235 [^]*250 [^]*354 [^]*250 [^]*221 /);
    const mails = await until(() => {
      const all = dovecot.messages().map(String).filter((m) => m.includes('Subject: back again'));
      return all.length && all;
    }, () => `delivery\n${postfix.log()}`);
    assert.equal(mails.length, 1);
    assert.match(await converse(dovecot.port, ['USER joe', 'PASS secret', 'STAT', 'QUIT']), /\+OK 2 /);
  });
});
