// The event log as it looks from outside: the stamp, and the session ids that are cut out of addresses.

import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';

import { Application } from '../support/harness.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { largeMailbox } from '../support/mails.mjs';
import { until } from '../support/tools.mjs';

const ID = 'Q'.repeat(64);

describe('session ids', () => {
  let app;
  before(async () => { app = await Application.start(); });
  after(() => app?.stop());

  const cases = {
    TheIdIsCutAndTheRestIsKept: [`index.htm?s=${ID}rest`, 'index.htmrest'],
    ALaterParameterIsCutToo: [`index.htm?x=1&s=${ID}&y=2`, 'index.htm?x=1&y=2'],
    BothKindsAreCutFromOneLine: [`index.htm?s=${ID}&x=1&s=${ID}&y=2`, 'index.htm&x=1&y=2'],
    TheMarkerIsFoundInCapitals: [`index.htm?S=${ID}rest&S=${ID}`, 'index.htmrest'],
    OnlyTheFirstOfAKindIsCut: [`index.htm?s=${ID}a?s=b`, 'index.htma?s=b'],
    AShorterIdTakesWhatFollowsWithIt: [`index.htm?s=abc${'-'.repeat(53)}`, 'index.htm complete!', true],
    TextWithoutAMarkerStays: [`index.htm?t=${ID}`, `index.htm?t=${ID}`],
  };
  for (const [name, [path, logged, whole]] of Object.entries(cases)) {
    test(name, async () => {
      await app.get(`/${path}`);
      assert.equal(app.events().at(-1), whole ? logged : `${logged} request complete!`);
    });
  }

  test('AMarkerNearTheEndCutsTheLineOff', async () => {
    await app.get('/index.htm?s=short');
    assert.equal(app.events().at(-1), 'index.htm');
  });

  test('TheBoxShowsWhatTheFileHolds', async () => {
    await app.get(`/index.htm?s=${ID}box`);
    const line = app.log().trimEnd().split('\r\n').at(-1);
    assert.ok(line.endsWith('] index.htmbox request complete!'));
    await until(() => app.process.output.replaceAll('\r', '').includes(`${line}\n`), 'the line in the box');
  });
});

// Lines that come quickly are shown together; the last of them not only with the next one.
test('TheBoxShowsEveryLineBeforeTheProgramWaits', async () => {
  const server = await MailServer.start({ messages: largeMailbox(80), pop: { faults: [{ verb: 'QUIT', stall: true }] } });
  const app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}` } });
  try {
    await app.login();
    const run = app.filterMail().catch(() => 'no answer');
    const lines = () => app.process.output.split('\n').filter((line) => line.includes('] Removing spam from ')).length;
    await until(() => lines() === 60, () => `60 lines and not ${lines()}`);
    assert.doesNotMatch(app.log(), /Mail filtered/);
    app.process.kill();
    assert.equal(await run, 'no answer');
  } finally {
    await app.stop();
    await server.stop();
  }
});

describe('stamp', { concurrency: 2 }, () => {
  // The machine's clock is what it is; a time zone brings it to the hour that is wanted.
  for (const [name, hour, designator] of [['MidnightIsTwelveAM', 0, 'AM'], ['NoonIsTwelvePM', 12, 'PM']]) {
    test(name, async () => {
      const zone = () => new Date().getUTCHours() - hour;
      const before = zone();
      const app = await Application.start({ environment: { TZ: `XXX${before}` } });
      try {
        await app.get('/vornelle.ico');
        if (zone() !== before) return await assert.match(app.log(), /\d\d:\d\d [AP]M\]/);  // the hour has just ended
        const local = new Date(Date.now() - before * 3600000);
        const day = [local.getUTCMonth() + 1, local.getUTCDate(), local.getUTCFullYear() % 100]
          .map((n) => String(n).padStart(2, '0')).join('-');
        const line = app.log().trimEnd().split('\r\n').at(-1);
        assert.match(line, new RegExp(`^\\[${day} 12:\\d\\d ${designator}\\] vornelle\\.ico request complete!$`));
      } finally {
        await app.stop();
      }
    });
  }
});
