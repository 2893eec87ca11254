// One filter run of the real program against a scripted server that misbehaves, and what must hold afterwards whatever
// the server did: no message is gone from it that is not whole in the SpamBox, and the program still serves its pages.

import assert from 'node:assert/strict';

import { assertNothingLost } from './harness.mjs';
import { onLane } from './lane.mjs';
import { smallMailbox } from './mails.mjs';

// options: those of onLane, milliseconds (for the run)
// check: called with { app, server, line, seconds, between } after the run; line is the run's last log line, seconds its duration
// recover: after it the server behaves and a second run finishes the work (default: true)
export async function faultRun({ messages = smallMailbox(), milliseconds = 120000, recover = true, ...options }, check) {
  await onLane({ messages, ...options }, async ({ app, server, between }) => {
    const before = server.maildrop.messages.map((message) => message.data);
    const left = () => server.maildrop.messages.map((message) => message.data);
    await app.login();
    const start = Date.now();
    const line = await app.filterMail({ milliseconds });
    const seconds = (Date.now() - start) / 1000;
    assert.ok(line, `the run ended without a last line:\n${app.log()}`);
    assertNothingLost(before, left(), app);
    assert.ok(await app.isServing(), `the login page\n${JSON.stringify(app.process.ended)}\n${app.log()}`);
    await check?.({ app, server, line, seconds, between });
    if (!recover) return;

    server.pop.options = { ...server.account };
    await app.login();
    assert.match(await app.filterMail() ?? '', /^Mail filtered: /);
    assertNothingLost(before, left(), app);
    const kept = messages.filter((message) => /friend\.example/.test(message.data.toString('latin1')));
    assert.deepEqual(left().map(String), kept.map((message) => message.data.toString()),
      'the next run on a server that behaves takes all spam and nothing else');
  });
}
