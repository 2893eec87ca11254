// The log box with more lines than anybody reads.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { until } from '../support/tools.mjs';
import { Desktop, processorTicks } from './wine.mjs';

let desktop;
before(async () => { desktop = await Desktop.start(); });
after(async () => { await desktop?.stop(); });

test('After 10,000 lines the log box holds them all, shows the newest, and the program is as quick as before', async () => {
  const app = await desktop.install();
  await desktop.run(app);
  await app.login();
  // Every request is two lines: the unknown page, and that its answer has been sent. The result is the processor time
  // that the program took for a request, which other work of the machine's does not change much.
  const requests = async (count) => {
    const before = processorTicks(app.child.pid);
    for (let i = 0; i < count; i++) await app.get('/quick.htm?s={s}');
    return (processorTicks(app.child.pid) - before) * 10 / count;
  };
  const before = app.events().length;
  const first = await requests(60);
  // Hidden it grows as well, and Wine need not draw every line.
  await desktop.minimize();
  await requests(4880);
  await desktop.restore();
  const last = await requests(60);
  const lines = app.events().length - before;
  assert.ok(lines >= 9999, `${lines} lines`);
  const end = app.log().slice(-500);
  await until(async () => {
    const shown = await desktop.logText();
    // The last lines read alike: the newest may be a moment behind.
    return shown.endsWith(end) && shown.split('\r\n').length > 10000;
  }, 'every line, and the end of the file at the end of the box');
  console.log(`figure: a request takes ${first.toFixed(1)} ms of the processor at the start, ${last.toFixed(1)} ms after 10,000 lines`);
  assert.ok(last < 1.5 * first + 2, `${first} ms before, ${last} ms after`);
  // The newest line is in sight: the first visible one is far down.
  const box = desktop.control(await desktop.main(), 107);
  assert.ok(await desktop.ask(`topline ${box.handle}`) > 9000);
});
