// What a second copy shows while it waits. Its thread stands still then and answers no questions, so the test looks at
// the screen.

import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import path from 'node:path';
import { after, before, test } from 'node:test';
import { promisify } from 'node:util';

import { MailServer } from '../support/mailserver.mjs';
import { until } from '../support/tools.mjs';
import { Desktop } from './wine.mjs';

const execute = promisify(execFile);
let desktop;
before(async () => { desktop = await Desktop.start(); });
after(async () => { await desktop?.stop(); });

// How many lines of dark text the part of the screen shows.
async function textLines(area) {
  const file = path.join(desktop.folder, 'text.png');
  await desktop.screenshot(file, area);
  const { stdout } = await execute('convert', [file, '-colorspace', 'Gray', '-threshold', '50%', '-negate', '-scale', `1x${area[3] - area[1]}!`,
    '-threshold', '0', '-depth', '8', 'gray:-'], { encoding: 'buffer' });
  return [...stdout].filter((row, i) => row > 0 && !stdout[i - 1]).length;
}

async function placeOf(xid) {
  const said = await desktop.xdotool('getwindowgeometry', '--shell', xid);
  return [Number(/^X=(-?\d+)/m.exec(said)[1]), Number(/^Y=(-?\d+)/m.exec(said)[1])];
}

const windowsByX = async () => (await desktop.xdotool('search', '--name', '^Vornelle \\(v')).trim().split('\n');

test('The warning of a second copy can be read in its window while it waits', async () => {
  const app = await desktop.install();
  await desktop.run(app);
  const log = desktop.control(await desktop.main({ visible: true }), 107).rect;
  const [first] = await windowsByX();
  const [left, top] = await placeOf(first);
  const { child } = app;
  app.launch();
  await app.event(/^\*\*\*Vornelle is already running!/);
  const second = await until(async () => (await windowsByX()).find((xid) => xid !== first), 'the second window');
  const [otherLeft, otherTop] = await placeOf(second);
  // Inside the frame, without the scroll bars.
  const area = [log[0] + 4, log[1] + 4, log[2] - 40, log[3] - 40].map((edge, i) =>
    edge + (i % 2 === 0 ? otherLeft - left : otherTop - top));
  // The banner's two lines, the line with nothing but its time, the warning.
  let seen;
  await until(async () => (seen = await textLines(area)) === 4, () => `four lines, not ${seen}`, 3000);
  assert.equal(app.ended, null, 'the copy waits');
  await app.end(30000);
  app.child = child;
  app.ended = null;
  child.once('exit', (code, signal) => { app.ended = { code, signal }; });
  // The next test looks for its window by its name.
  await app.stop();
});

test('What has been logged is in the log box while a silent mail server holds the program up', async () => {
  const server = await MailServer.start({ pop: { faults: [{ verb: 'GREETING', stall: true }] } });
  const app = await desktop.install({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}` } });
  let run;
  try {
    await desktop.run(app);
    const log = desktop.control(await desktop.main({ visible: true }), 107).rect;
    await app.login();
    // More lines in a moment than are shown one by one.
    for (let i = 0; i < 3; i++) await app.get('/quick.htm?s={s}');
    // A connection that comes before the last answer is off gets that request's answer once more: then it is asked again.
    const asked = () => app.events().includes('Filter mail (user request)');
    for (let tries = 0; tries < 5 && !asked(); tries++) {
      run = app.get('/MAILFILTER.CGI?s={s}', { milliseconds: 60000 }).catch(() => {});
      await app.event('Filter mail (user request)', 3000).catch(() => {});
    }
    assert.ok(asked(), `the run was asked for: ${app.events().join('; ')}`);
    // The banner has taken the place of the line before it, and has two.
    const expected = app.events().length + 1;
    // The first character of each line: further on the one line's descenders touch the next one's ascenders.
    const area = [log[0] + 3, log[1] + 3, log[0] + 9, log[3] - 40];
    let seen;
    await until(async () => (seen = await textLines(area)) >= expected, () => `${expected} lines, not ${seen}`, 4000);
  } finally {
    await server.stop();
    await run;
  }
});
