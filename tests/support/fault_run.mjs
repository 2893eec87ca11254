// One filter run of the real program against a scripted server that misbehaves, and what must hold afterwards whatever
// the server did: no message is gone from it that is not whole in the SpamBox, and the program still serves its pages.

import assert from 'node:assert/strict';

import { Application, assertNothingLost } from './harness.mjs';
import { MailServer } from './mailserver.mjs';
import { smallMailbox } from './mails.mjs';

// options: messages, pop (options of the scripted server's POP3 side), settings, lists, milliseconds (for the run), tls (a
// certificate of Certificates: the server is encrypted), environment (of the program), line (made of the server's port,
// gives the port of what stands between it and the program)
// check: called with { app, server, line, seconds } after the run; line is the run's last log line, seconds its duration
// recover: after it the server behaves and a second run finishes the work (default: true)
export async function faultRun(options, check) {
  const messages = options.messages ?? smallMailbox();
  const server = await MailServer.start({ messages, pop: options.pop, tls: options.tls });
  const between = await options.line?.(server.popPort);
  let app;
  try {
    app = await Application.start({
      settings: { POP_SERVER: `${options.tls ? 'tls://' : ''}127.0.0.1:${between?.port ?? server.popPort}`, ...options.settings },
      lists: options.lists, environment: options.environment,
    });
    const before = server.maildrop.messages.map((message) => message.data);
    const left = () => server.maildrop.messages.map((message) => message.data);
    await app.login();
    const start = Date.now();
    const line = await app.filterMail({ milliseconds: options.milliseconds ?? 120000 });
    const seconds = (Date.now() - start) / 1000;
    assert.ok(line, `the run ended without a last line:\n${app.log()}`);
    assertNothingLost(before, left(), app);
    assert.ok(await app.isServing(), `the login page\n${JSON.stringify(app.process.ended)}\n${app.log()}`);
    await check?.({ app, server, line, seconds, between });
    if (options.recover === false) return;

    server.pop.options = { ...server.account };
    await app.login();
    assert.match(await app.filterMail() ?? '', /^Mail filtered: /);
    assertNothingLost(before, left(), app);
    const kept = messages.filter((message) => /friend\.example/.test(message.data.toString('latin1')));
    assert.deepEqual(left().map(String), kept.map((message) => message.data.toString()),
      'the next run on a server that behaves takes all spam and nothing else');
  } finally {
    await app?.stop();
    between?.close();
    await server.stop();
  }
}
