// The run that the schedule starts: two minutes after the program, by the real clock. Unlike one that is asked for over
// HTTP it holds no request, so pages are served in the middle of it.
// ctest: first

import assert from 'node:assert/strict';
import fs from 'node:fs';
import { describe, test } from 'node:test';

import { assertNothingLost } from '../support/harness.mjs';
import { withMailbox } from '../support/mailbox.mjs';
import { mixture } from '../support/mails.mjs';
import { until } from '../support/tools.mjs';

// Messages, and the bytes that come of them in a moment: a run of many seconds, unless it is let go.
const RUN = 300;
const line = { delay: 1, pace: 1000 };
const settings = { ACTIVATE_START: 'TRUE', CHECK_MIN: '10' };

async function inTheMiddleOfTheRun(app) {
  const start = Date.now();
  await until(() => fs.readdirSync(app.path('spam')).length >= 10, 'ten saved messages', 170000);
  return (Date.now() - start) / 1000;
}

describe('automatic run', { concurrency: 2 }, () => {
  test('ComesTwoMinutesAfterTheStartAndPagesAreServedMeanwhile', () => withMailbox(mixture(RUN), { ...line, settings },
    async (app, dovecot, proxy) => {
      const stored = dovecot.messages();
      const seconds = await inTheMiddleOfTheRun(app);
      assert.ok(seconds > 110 && seconds < 150, `${seconds} s`);
      await app.login();
      assert.ok((await app.get('/vornelle.ico')).length > 1000);
      assert.match(await app.get('/displayfriendlist.htm?s={s}'), /friend\.example/);
      assert.ok(!app.log().includes('Mail filtered: '), 'the run was still on');
      delete proxy.pace;
      await until(() => app.events().includes(`Mail filtered:  ${RUN / 4} msgs.  ${RUN * 3 / 4} spam.`), 'the end of the run', 60000);
      assert.ok(!app.events().includes('Filter mail (user request)'));
      assert.equal(dovecot.messages().length, RUN / 4);
      assertNothingLost(stored, dovecot.messages(), app);
    }));

  test('LosesNothingWhenUnloadmeEndsTheProgramInItsMiddle', () => withMailbox(mixture(RUN), { ...line, settings },
    async (app, dovecot) => {
      const stored = dovecot.messages();
      await inTheMiddleOfTheRun(app);
      await app.get('/UNLOADME').catch(() => {});
      await app.ended();
      assert.ok(!app.log().includes('Mail filtered: '), 'the run was still on');
      assert.deepEqual(app.events().slice(-2), ['***Closing Vornelle***', '************************']);
      assertNothingLost(stored, dovecot.messages(), app);
    }));
});
