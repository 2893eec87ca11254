// The main window as its user sees and uses it.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import { after, before, test } from 'node:test';

import { until } from '../support/tools.mjs';
import { Desktop } from './wine.mjs';

const ID = { launch: 101, startMin: 102, autostart: 103, filter: 104, testMode: 105, active: 106, log: 107, label: 108 };
let desktop;
let app;
before(async () => {
  desktop = await Desktop.start();
  app = await desktop.install({ settings: { POP_SERVER: '' } });
  await desktop.run(app);
});
after(async () => { await desktop?.stop(); });

const find = async (id) => desktop.control(await desktop.main(), id);
const isChecked = async (id) => (await find(id)).checked;
const checked = async (id, value) => { await until(async () => (await isChecked(id)) === value, `box ${id} ${value}`); };

test('The window has its controls, captions and title', async () => {
  const main = await desktop.main({ visible: true });
  assert.equal(main.text, 'Vornelle (v1.0.0) ');
  const captions = Object.fromEntries(main.children.map((child) => [child.id, child.text]));
  assert.equal(captions[ID.launch], 'Launch');
  assert.equal(captions[ID.startMin], 'Start Min');
  assert.equal(captions[ID.autostart], 'Autostart');
  assert.equal(captions[ID.filter], 'Filter Mail');
  assert.equal(captions[ID.testMode], 'Test Mode');
  assert.equal(captions[ID.active], 'Active');
  assert.equal(captions[ID.label], 'Log:');
  assert.equal(main.children.length, 8);
});

test('The menu bar reads Import, Config, About, Exit', async () => {
  const entries = await desktop.menu(await desktop.main());
  assert.deepEqual(entries.map((entry) => entry.text), ['Import', 'Config', 'About', 'Exit']);
});

test('Every control has its tool tip, and the mouse brings it up', async () => {
  const main = await desktop.main();
  const tips = await desktop.ask(`tips ${main.pid}`);
  const tipOf = (id) => tips.find((tip) => tip.window === desktop.control(main, id).handle)?.text;
  assert.equal(tipOf(ID.launch), 'Launch default Internet browser and show Vornelle interface');
  assert.equal(tipOf(ID.startMin), 'Minimize window when starting');
  assert.equal(tipOf(ID.autostart), 'Run Vornelle at Windows startup');
  assert.equal(tipOf(ID.filter), 'Filter for spam (manual)');
  assert.equal(tipOf(ID.testMode), 'When checked, spam is not removed from InBox');
  assert.equal(tipOf(ID.active), 'Starts auto spam filtering');
  assert.equal(tipOf(ID.log), 'Logs Vornelle events');
  assert.equal(tips.length, 7);
  await desktop.hover(desktop.control(main, ID.filter));
  await desktop.window({ class: 'tooltips_class32', text: 'Filter for spam (manual)' });
});

test('The log box holds the two-line banner and cannot be written into', async () => {
  const text = await desktop.logText();
  assert.match(text, /^Vornelle started: \d\d-\d\d-\d\d \d\d:\d\d [AP]M\r\nTo access on this computer, open a webbrowser /);
  assert.ok(text.includes(`and use the address: http://localhost:${app.port}\r\n`));
  await desktop.click(await find(ID.log));
  await desktop.type('scribble');
  assert.ok(!(await desktop.logText()).includes('scribble'));
});

test('Clicking Start Min turns it over and logs what it will do', async () => {
  await desktop.click(await find(ID.startMin));
  await app.event('Vornelle will start with window minimized');
  assert.equal(await isChecked(ID.startMin), true);
  await desktop.click(await find(ID.startMin));
  await app.event('Vornelle will start with window open');
  assert.equal(await isChecked(ID.startMin), false);
});

test('Clicking Test Mode and Active turns them over and logs it', async () => {
  const before = app.events().length;
  await desktop.click(await find(ID.testMode));
  await checked(ID.testMode, true);
  await until(() => app.events().length > before, 'a line for test mode');
  await desktop.click(await find(ID.active));
  await checked(ID.active, true);
  await until(() => app.events().length > before + 1, 'a line for active');
  assert.match(app.events().slice(before).join('\n'), /Test mode on/);
  await desktop.click(await find(ID.testMode));
  await checked(ID.testMode, false);
  await desktop.click(await find(ID.active));
  await checked(ID.active, false);
});

test('What is logged stands in the box and in the file, newest line last', async () => {
  // Lines in quick succession are shown together, a moment later.
  const newest = app.log().split('\r\n').slice(-3).join('\r\n');
  assert.ok(newest.length > 20);
  await until(async () => (await desktop.logText()).endsWith(newest), 'the newest lines');
});

test('Autostart makes the shortcut and removes it again', async () => {
  const startup = `${desktop.prefix}/drive_c/users/${fs.readdirSync(`${desktop.prefix}/drive_c/users`)
    .find((name) => name !== 'Public')}/AppData/Roaming/Microsoft/Windows/Start Menu/Programs/StartUp`;
  const links = () => (fs.existsSync(startup) ? fs.readdirSync(startup).filter((name) => /^vornelle\.lnk$/i.test(name)) : []);
  assert.deepEqual(links(), []);
  await desktop.click(await find(ID.autostart));
  await checked(ID.autostart, true);
  await until(() => links().length === 1, 'the shortcut');
  const link = await desktop.ask(`link Z:${(startup + '/' + links()[0]).replaceAll('/', '\\')}`);
  assert.equal(link.target.toLowerCase(), `z:${app.path('vornelle.exe').replaceAll('/', '\\')}`.toLowerCase());
  assert.equal(link.arguments, '');
  await desktop.click(await find(ID.autostart));
  await until(() => links().length === 0, 'the end of the shortcut');
});

test('Launch opens the web interface in the browser, from the folder C:\\', async () => {
  await desktop.click(await find(ID.launch));
  const opened = await until(() => fs.existsSync(desktop.opened) && fs.readFileSync(desktop.opened, 'utf8'), 'the browser');
  assert.equal(opened.trim(), `C:\\ http://localhost:${app.port}`);
});

test('The Tab key goes through the controls in the order of reading', async () => {
  await desktop.activate();
  await desktop.click(await find(ID.log));
  await until(async () => (await find(ID.log)).focused, 'the focus in the log box');
  const order = [];
  for (let i = 0; i < 7; i++) {
    const before = order.at(-1) ?? ID.log;
    await desktop.key('Tab');
    order.push(await until(async () => {
      const now = (await desktop.main()).children.find((child) => child.focused)?.id;
      return now !== before && now;
    }, 'a new focus'));
  }
  assert.deepEqual(order, [ID.launch, ID.filter, ID.active, ID.testMode, ID.startMin, ID.autostart, ID.log]);
});

test('Access keys work although no caption shows one', async () => {
  await desktop.activate();
  await desktop.key('alt+s');
  await checked(ID.startMin, true);
  await desktop.key('alt+s');
  await checked(ID.startMin, false);
  await desktop.key('alt+g');
  await until(async () => (await find(ID.log)).focused, 'the focus in the log box');
  await desktop.key('alt+a');
  const about = await desktop.dialog('About Vornelle');
  await desktop.key('Escape');
  await desktop.gone(about);
});

test('The log box takes the room that a larger window gives, and the window has a least size', async () => {
  const main = await desktop.main();
  const before = desktop.control(main, ID.log).rect;
  const xid = await desktop.mainXid();
  await desktop.xdotool('windowsize', xid, 900, 600);
  await until(async () => {
    const [left, top, right, bottom] = (await find(ID.log)).rect;
    return right - left > before[2] - before[0] + 150 && bottom - top > before[3] - before[1] + 100;
  }, 'a larger log box');
  await desktop.xdotool('windowsize', xid, 50, 50);
  const small = await until(async () => {
    const now = await desktop.main();
    return now.rect[2] - now.rect[0] < 600 && now;
  }, 'a smaller window');
  for (const child of small.children) {
    assert.ok(child.rect[2] <= small.rect[2] && child.rect[3] <= small.rect[3], `${child.text} sticks out`);
    assert.ok(child.rect[2] > child.rect[0] && child.rect[3] > child.rect[1], `${child.text} has no room`);
  }
  await desktop.xdotool('windowsize', xid, 640, 400);
});

test('Minimising hides the window; a left click on the icon brings it back', async () => {
  await desktop.minimize();
  assert.match(await app.get('/'), /<form/i);
  await desktop.clickIcon(3);  // a right click does nothing
  await app.get('/');
  assert.equal((await desktop.main()).visible, false);
  await desktop.restore();
  const main = await desktop.main({ visible: true, iconic: false });
  await until(async () => (await desktop.main()).foreground, 'the window in front');
  assert.equal(main.text, 'Vornelle (v1.0.0) ');
});

test('The icon comes back when the task bar has been started anew', async () => {
  await desktop.ask('taskbar');
  await desktop.minimize();
  await desktop.restore();
});

test('The close button ends the program and saves the switches', async () => {
  await desktop.click(await find(ID.startMin));
  await checked(ID.startMin, true);
  const xid = await desktop.mainXid();
  // The window manager's own close button sends the same.
  await desktop.xdotool('windowactivate', '--sync', xid, 'key', 'alt+F4');
  assert.deepEqual(await app.end(), { code: 0, signal: null });
  assert.deepEqual(app.events().slice(-2), ['***Closing Vornelle***', '************************']);
  assert.equal(app.settings().START_MINIMIZED, 'TRUE');
  assert.equal(app.settings().TEST_MODE, 'FALSE');
});
