// Pictures of the windows at the usual and at a high resolution, for people to look at, and what a machine can say about
// them: nothing is cut off, nothing lies over anything else. The pictures go to build/screenshots/.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';

import { repository } from '../support/launcher.mjs';
import { until } from '../support/tools.mjs';
import { Desktop } from './wine.mjs';

const overlap = (a, b) => Math.min(a[2], b[2]) > Math.max(a[0], b[0]) && Math.min(a[3], b[3]) > Math.max(a[1], b[1]);

function assertLaidOut(window) {
  const shown = window.children.filter((child) => child.visible);
  for (const child of shown) {
    const name = `"${child.text.slice(0, 30)}" in "${window.text}"`;
    assert.ok(child.rect[0] >= window.rect[0] && child.rect[1] >= window.rect[1] && child.rect[2] <= window.rect[2] &&
      child.rect[3] <= window.rect[3], `${name} sticks out`);
    for (const other of shown) {
      if (other !== child) assert.ok(!overlap(child.rect, other.rect), `${name} lies over "${other.text.slice(0, 30)}"`);
    }
  }
}

for (const dpi of [96, 144]) {
  test(`At ${dpi} dots an inch nothing is cut off and nothing lies over anything else`, async () => {
    const desktop = await Desktop.start({ dpi });
    try {
      const app = await desktop.install({ settings: { POP_SERVER: 'mail.home.example', SMTP_SERVER: 'mail.home.example' } });
      await desktop.run(app);
      const picture = async (name, window) => {
        assert.equal(window.dpi, dpi);
        const file = path.join(repository, 'build', 'screenshots', `${name}-${dpi}.png`);
        const [left, top, right, bottom] = window.rect;
        // With the frame that the window manager draws.
        await desktop.screenshot(file, [left - 4, top - 4, right + 4, bottom + 4]);
        assert.ok(fs.statSync(file).size > 1000);
      };
      const main = await desktop.main({ visible: true });
      assertLaidOut(main);
      await picture('main-window', main);
      for (const [entry, title, name] of [['Import', 'Import Addresses to FriendList', 'import-dialog'],
        ['Config', 'Config', 'settings-dialog'], ['About', 'About Vornelle', 'about-window']]) {
        const dialog = await desktop.openDialog(entry, title);
        const ready = name !== 'about-window' ? dialog : await until(async () => {
          const now = await desktop.dialog(title);
          // The text and the button; the browser control has gone.
          const shown = now.children.filter((child) => child.visible);
          return shown.length === 2 && shown.some((child) => child.class === 'SysLink') && now;
        }, 'the text', 8000);
        assertLaidOut(ready);
        const height = ready.rect[3] - ready.rect[1];
        assert.ok(height <= 700 * dpi / 144, `${name} is ${height} pixels high: too much for a low screen`);
        await picture(name, ready);
        await desktop.key('Escape');
        await desktop.gone(dialog);
      }
    } finally {
      await desktop.stop();
    }
  });
}
