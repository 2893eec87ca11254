// The log box with more lines than anybody reads.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { until } from '../support/tools.mjs';
import { Desktop } from './wine.mjs';

let desktop;
before(async () => { desktop = await Desktop.start(); });
after(async () => { await desktop?.stop(); });

test('After 10,000 lines the log box holds them all, shows the newest, and the program is as quick as before', async () => {
  const app = await desktop.install();
  await desktop.run(app);
  await app.login();
  // Every request is two lines: the unknown page, and that its answer has been sent.
  const times = async (count) => {
    const taken = [];
    for (let i = 0; i < count; i++) {
      const start = process.hrtime.bigint();
      await app.get('/quick.htm?s={s}');
      taken.push(Number(process.hrtime.bigint() - start) / 1e6);
    }
    return taken;
  };
  const middle = (list) => list.sort((a, b) => a - b)[Math.floor(list.length / 2)];
  const before = app.events().length;
  const first = middle(await times(60));
  // Hidden it grows as well, and Wine need not draw every line.
  await desktop.xdotool('windowminimize', await desktop.mainXid());
  await until(async () => !(await desktop.main()).visible, 'the hidden window');
  await times(4880);
  await desktop.clickIcon();
  await desktop.main({ visible: true, iconic: false });
  const last = middle(await times(60));
  const lines = app.events().length - before;
  assert.ok(lines >= 9999, `${lines} lines`);
  const text = await desktop.logText();
  assert.ok(text.split('\r\n').length > 10000);
  assert.ok(text.endsWith(app.log().slice(-500)), 'the end of the file is the end of the box');
  console.log(`a request at the start ${first.toFixed(1)} ms, after 10,000 lines ${last.toFixed(1)} ms`);
  assert.ok(last < 2 * first + 5, `${first} ms before, ${last} ms after`);
  // The newest line is in sight: the first visible one is far down.
  const box = desktop.control(await desktop.main(), 107);
  assert.ok(await desktop.ask(`topline ${box.handle}`) > 9000);
});
