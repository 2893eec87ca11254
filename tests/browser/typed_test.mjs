// Values arrive as they were typed, on both wires: what browsers would encode, and what they would leave out.

import assert from 'node:assert/strict';
import { after, before, describe } from 'node:test';

import { inEachBrowser } from '../support/browsers.mjs';
import { Application } from '../support/harness.mjs';

// What people really have for account names and passwords. The program's settings file is Windows-1252.
const account = 'joe@home.example';
const password = 'pass word +1 50% "x" \'y\' \xe4\xf6\xfc\xdf';

// Browsers take the plain wire's bare answers on port 80 only.
const WIRES = [['the gateway', {}, {}], ['the plain wire', { HTTP_PORT_CFG: '80' }, { host: '127.0.0.1' }]];

for (const [wire, settings, options] of WIRES) {
  describe(wire, () => {
    let app;
    before(async () => {
      app = await Application.start({
        settings: { POP_ACCOUNT: account, POP_PASSWORD: password, POP_SERVER: '', ...settings },
        lists: { friendlist: ['anna+list@friend.example', '@friend.example', '100%'] },
      });
      if (settings.HTTP_PORT_CFG) assert.equal(app.port, 80, 'port 80 of this machine is taken or not allowed');
    });
    after(() => app?.stop());

    inEachBrowser((userTest, name) => {
      userTest('AccountAndPasswordArriveAsTyped', () => app, async (user) => {
        const before = app.events().length;
        await user.loginByForm(account, password);
        assert.ok(app.events().slice(before).includes(`Successful login: ${account}`));
        await user.page.click('text=Log out');
        await user.page.waitForSelector('#login');
      }, options);

      userTest('ASearchArrivesAsTyped', () => app, async (user) => {
        await user.loginByForm(account, password);
        await user.go('find');
        for (const [text, found] of [
          ['@friend.example', ['anna+list@friend.example', '@friend.example']],
          ['anna+list@', ['anna+list@friend.example']],
          ['100%', ['100%']],
          ['"\xe4\xf6" \'', []],
        ]) {
          await user.page.fill('#findinlists', text);
          await user.page.click('button:text("Search")');
          await user.page.waitForFunction((t) =>
            document.querySelector('.result p')?.textContent.trim() === `Last search: ${t}`, text);
          const result = await user.text('.result');
          assert.deepEqual([...result.matchAll(/^- (.*)$/gm)].map((match) => match[1].trim()), found);
        }
        await user.picture(`search-${wire.replaceAll(' ', '-')}`);
      }, options);

      userTest('AListEntryArrivesAsTyped', () => app, async (user) => {
        const entry = `jam & 50% bread @home "x" '${name}' \xe4`;
        await user.loginByForm(account, password);
        await user.go('subjectlist');
        await user.page.fill('#addinput', entry);
        await user.page.click('button:text("Add")');
        await user.page.waitForSelector(`option:text("${name}")`, { state: 'attached' });
        assert.ok(app.read('data/subjectlist.txt').split('\r\n').includes(entry));
      }, options);

      userTest('APlusInAListEntryIsToldAndNothingIsSent', () => app, async (user) => {
        await user.loginByForm(account, password);
        await user.go('friendlist');
        await user.page.fill('#addinput', 'new+one@friend.example');
        const before = app.log();
        await user.page.click('button:text("Add")');
        assert.match(await user.text('#addinput-problem'), /A "\+" cannot be put into a list from here/);
        await user.picture(`plus-${wire.replaceAll(' ', '-')}`);
        assert.equal(app.log(), before);
      }, options);
    });
  });
}
