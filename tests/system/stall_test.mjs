// A server or a browser that falls silent holds the program up for its 30 seconds and no longer, and costs no mail.
// These waits are real, so they all run side by side.

import assert from 'node:assert/strict';
import net from 'node:net';
import { describe, test } from 'node:test';

import { exchange } from '../support/bare_http.mjs';
import { faultRun } from '../support/fault_run.mjs';
import { Application } from '../support/harness.mjs';
import { largeMailbox } from '../support/mails.mjs';
import { until } from '../support/tools.mjs';

// About 30 seconds for one wait; a slow machine may take longer, a program that does not wait is faster.
function assertOneWait(seconds, least) {
  assert.ok(seconds > least && seconds < 50, `${seconds} s`);
}

describe('silence', { concurrency: 20 }, () => {
  const stalled = (fault, check, { least = 25, ...options } = {}) => () =>
    faultRun({ pop: { faults: [fault] }, milliseconds: 120000, ...options }, (run) => {
      assertOneWait(run.seconds, least);
      check?.(run);
    });
  const notLoggedOn = ({ line }) => assert.match(line, /^\*\*Cannot log onto POP3 server\./);
  test('OfTheServerAtItsGreeting', stalled({ verb: 'GREETING', stall: true }, notLoggedOn));
  test('OfTheServerAtPass', stalled({ verb: 'PASS', stall: true }, notLoggedOn));
  test('OfTheServerInTheMiddleOfList', stalled({ verb: 'LIST', stall: 'middle' }));
  test('OfTheServerInTheMiddleOfUidl', stalled({ verb: 'UIDL', stall: 'middle' }));
  test('OfTheServerInTheMiddleOfTop', stalled({ verb: 'TOP', nth: 2, stall: 'middle' }));
  test('OfTheServerInTheMiddleOfAMessage', stalled({ verb: 'RETR', nth: 2, stall: 'middle' }));
  test('OfTheServerJustBeforeTheEndOfAMessage', stalled({ verb: 'RETR', nth: 1, stall: -1 }));
  test('OfTheServerAtDele', stalled({ verb: 'DELE', nth: 2, stall: true }));
  test('OfTheServerAtQuit', stalled({ verb: 'QUIT', stall: true }));
  // A question that the server may not know is not worth the whole wait.
  test('OfTheServerAtCapaOfALargeMailbox', stalled({ verb: 'CAPA', stall: true },
    ({ line }) => assert.match(line, /^Mail filtered:  10 msgs\.  30 spam\.$/), { messages: largeMailbox(), least: 5 }));

  const knock = (port, text = '') => {
    const socket = net.connect(port, '127.0.0.1');
    socket.received = '';
    socket.on('data', (data) => { socket.received += data.toString('latin1'); });
    socket.on('error', () => {});
    if (text) socket.write(text);
    return socket;
  };

  // Every silent connection keeps its handler waiting; at 99 of them the next request is not accepted.
  test('TheHundredthRequestAtATimeIsDroppedAndTheNextAfterTheWaitIsServed', async () => {
    const app = await Application.start();
    const silent = [];
    try {
      for (let i = 0; i < 99; i++) {
        const socket = knock(app.port);
        silent.push(socket);
        await new Promise((resolve) => socket.once('connect', resolve));
      }
      const ask = () => app.get('/', { milliseconds: 3000 }).catch(() => '');
      assert.equal(await ask(), '');
      await until(ask, 'an answer', 60000);
    } finally {
      for (const socket of silent) socket.destroy();
      await app.stop();
    }
  });

  test('OfABrowserLeavesItsConnectionOpenAndWhatItAsksLateIsTakenByTheNextOne', async () => {
    const app = await Application.start();
    const silent = knock(app.port);
    let open = true;
    silent.on('close', () => { open = false; });
    try {
      await new Promise((resolve) => setTimeout(resolve, 33000));
      assert.ok(open);
      silent.write('GET /logout.cgi HTTP/1.0\r\n\r\n');
      // The next one has nothing to say itself.
      assert.equal((await exchange(app.port, '')).toString(), "<script language='Javascript'>window.location='/'</script>\r\n");
      assert.ok(open && silent.received === '');
    } finally {
      silent.destroy();
      await app.stop();
    }
  });

  test('AMethodOtherThanGetAndPostIsNeverAnswered', async () => {
    const app = await Application.start();
    try {
      const sockets = ['HEAD / HTTP/1.0\r\n\r\n', 'get / HTTP/1.0\r\n\r\n', 'GET /index.htm'].map((t) => knock(app.port, t));
      await new Promise((resolve) => setTimeout(resolve, 33000));
      for (const socket of sockets) assert.equal(socket.received, '');
      assert.ok(await app.isServing());
      for (const socket of sockets) socket.destroy();
    } finally {
      await app.stop();
    }
  });
});
