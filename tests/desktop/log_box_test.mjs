// The log box with more lines than anybody reads.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import { after, before, test } from 'node:test';

import { until } from '../support/tools.mjs';
import { Desktop, processorTicks } from './wine.mjs';

const LINES_AT_ONCE = 500;
let desktop;
before(async () => { desktop = await Desktop.start(); });
after(async () => { await desktop?.stop(); });

test('With 100,000 lines the log box holds them all, shows the newest, and takes another as quickly as before', async () => {
  const app = await desktop.install();
  await desktop.run(app);
  await app.login();
  assert.equal(app.events()[0], 'Creating spam subdirectory...');
  const banner = await desktop.logText();
  const bannerEnd = banner.indexOf('\r\n', banner.indexOf('use the address')) + 2;

  // Every request is two lines: the unknown page, and that its answer has been sent. The result is the processor time
  // that the program took for a request, which other work of the machine's does not change much. The requests keep a
  // distance, so that the box is drawn many times in between.
  const perRequest = async (count = 100) => {
    const start = processorTicks(app.child.pid);
    for (let i = 0; i < count; i++) {
      await app.get('/quick.htm?s={s}');
      await new Promise((resolve) => setTimeout(resolve, 30));
    }
    return (processorTicks(app.child.pid) - start) * 10 / count;
  };
  const lineCount = () => app.log().split('\r\n').length - 1;
  // A log-on that fails is logged with the account that was typed. This one is typed in many lines.
  const account = Array.from({ length: LINES_AT_ONCE }, (_, i) => `somebody.else.${i}@elsewhere.example`).join('\r\n');
  const growTo = async (count) => {
    for (let lines = lineCount(); lines < count - 300; lines += LINES_AT_ONCE) {
      await app.post('/login.cgi', { POP_ACCOUNT: account, POP_PASSWORD: 'x', SUBMIT: 'Login' });
    }
    await until(() => lineCount() >= count - 300, `${count} lines`);
  };
  // The last lines of all come a moment later.
  const shown = async () => await until(async () => {
    const text = await desktop.logText();
    return text.length - bannerEnd === app.log().length - app.log().indexOf('\r\n') - 2 && text;
  }, () => `all ${lineCount()} lines in the box`, 60000);

  const times = [await perRequest()];
  for (const count of [10000, 100000]) {
    await growTo(count);
    await shown();
    times.push(await perRequest());
  }
  const [few, ten, hundred] = times;
  console.log(`figure: a request takes ${few} ms of the processor at the start, ${ten} ms with 10,000 lines in the log ` +
    `box, ${hundred} ms with 100,000`);
  const box = await shown();
  assert.ok(lineCount() > 100000, `${lineCount()} lines`);
  // Two lines that only the box has take the place of what was logged before them; then comes every line of the file.
  // Those of requests that came in one another's way may stand in another order.
  assert.equal(box.slice(0, bannerEnd), banner.slice(0, bannerEnd));
  const inBox = box.slice(bannerEnd).split('\r\n').sort();
  const inFile = app.log().split('\r\n').slice(1).sort();
  assert.equal(inBox.length, inFile.length);
  assert.equal(inBox.find((line, i) => line !== inFile[i]), undefined, 'the box holds what the file holds');
  const log = desktop.control(await desktop.main(), 107);
  assert.ok(await desktop.ask(`topline ${log.handle}`) > 99000, 'the newest line is in sight');

  const memory = /^VmRSS:\s+(\d+)/m.exec(fs.readFileSync(`/proc/${app.child.pid}/status`, 'utf8'))[1];
  console.log(`figure: with ${lineCount()} lines, ${app.log().length} bytes of text, the program has ${memory} KB in memory`);
  // Drawing the box takes a tenth of the time at most.
  assert.ok(Math.max(ten, hundred) < few + 12, `${times.join(', ')} ms`);
});
