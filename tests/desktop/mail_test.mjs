// The Windows program at work: filter runs from its window, pages served whatever is open, and what it takes of the
// machine.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { after, afterEach, before, test } from 'node:test';

import { Dovecot } from '../support/dovecot.mjs';
import { repository } from '../support/launcher.mjs';
import { MailServer } from '../support/mailserver.mjs';
import { friendly, smallMailbox, spam } from '../support/mails.mjs';
import { keepChild, until } from '../support/tools.mjs';
import { Desktop, processorTicks, wineProgram } from './wine.mjs';

const ID = { filter: 104, log: 107 };
let desktop;
before(async () => { desktop = await Desktop.start(); });
after(async () => { await desktop?.stop(); });
afterEach(async () => { for (const app of desktop.apps) await app.stop(); });

const serves = async (app) => assert.match(await app.get('/'), /<form/i);
const press = async (id) => { await desktop.click(desktop.control(await desktop.main(), id)); };

test('Filter Mail runs against a mailbox: spam goes into the SpamBox and off the server, the tip tells it', async () => {
  const server = await MailServer.start({ messages: smallMailbox(), user: 'joe', password: 'secret' });
  try {
    const app = await desktop.install({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}` } });
    await desktop.run(app);
    const tips = async () => (await desktop.ask('icontips')).map((tip) => tip.text);
    assert.deepEqual(await tips(), [' Vornelle ']);
    await press(ID.filter);
    await app.event(/^Mail filtered: /, 30000);
    assert.ok(app.events().includes('Mail filtered:  2 msgs.  3 spam.'));
    await until(async () => (await tips())[0] !== ' Vornelle ', 'another tip');
    assert.deepEqual(await tips(), [' Vornelle -  2 msgs.  3 spam.']);
    assert.deepEqual(fs.readdirSync(app.path('spam')).sort(), ['five.txt', 'three.txt', 'two.txt']);
    assert.deepEqual(server.maildrop.uids().sort(), ['four', 'one']);
    await until(async () => (await desktop.logText()).includes('Mail filtered: '), 'the line in the box');
    assert.equal(app.read('spam/three.txt'), smallMailbox()[2].data.toString('latin1') + '\r\n');
  } finally {
    await server.stop();
  }
});

test('Filter Mail runs against Dovecot', async () => {
  const messages = Array.from({ length: 30 }, (_, i) => (i % 3 ? spam(`dove-${i}`) : friendly(`dove-${i}`)));
  const server = await Dovecot.start({ messages });
  try {
    const app = await desktop.install({
      settings: { POP_SERVER: `127.0.0.1:${server.port}` } });
    await desktop.run(app);
    await press(ID.filter);
    await app.event(/^Mail filtered: /, 60000);
    assert.equal(fs.readdirSync(app.path('spam')).length, 20);
    assert.equal(server.messages().length, 10);
  } finally {
    await server.stop();
  }
});

test('Pages are served while each dialog or the menu of the window is open, and while the window is hidden', async () => {
  const app = await desktop.install();
  await desktop.run(app);
  for (const [entry, title] of [['Import', 'Import Addresses to FriendList'], ['Config', 'Config'], ['About', 'About Vornelle']]) {
    const dialog = await desktop.openDialog(entry, title);
    await serves(app);
    await desktop.key('Escape');
    await desktop.gone(dialog);
  }
  // The window's own menu runs a loop of the system's.
  await desktop.key('alt+space');
  await serves(app);
  await desktop.key('Escape');
  await desktop.minimize();
  await serves(app);
});

test('A filter run can be started from the web while a dialog is open', async () => {
  const server = await MailServer.start({ messages: smallMailbox(), user: 'joe', password: 'secret' });
  try {
    const app = await desktop.install({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}` } });
    await desktop.run(app);
    await app.login();
    await desktop.openDialog('Config', 'Config');
    await app.get('/MAILFILTER.CGI?s={s}');
    await app.event(/^Mail filtered: /);
    assert.equal(fs.readdirSync(app.path('spam')).length, 3);
  } finally {
    await server.stop();
  }
});

test('A message as long as the send buffer many times over arrives whole', async () => {
  const app = await desktop.install({ lists: { enemylist: Array.from({ length: 9000 }, (_, i) => `enemy-${i}@long.example`) } });
  await desktop.run(app);
  await app.login();
  const page = await app.get('/displayenemylist.htm?s={s}', { milliseconds: 60000 });
  assert.ok(page.length > 500000 && page.includes('enemy-8999@long.example'), `${page.length} bytes`);
});

// Private memory in KB: the pages that the process has written and shares with nobody, heap, stacks, and the data of the
// program and of Wine's libraries. Unwritten pages of program files are nobody's own: the kernel counts them as
// private or shared as others happen to use the same files at the moment, and drops them when it needs room.
const privateMemory = (pid) => [...fs.readFileSync(`/proc/${pid}/smaps_rollup`, 'utf8').matchAll(/^Private_Dirty: +(\d+) kB/gm)]
  .reduce((sum, [, size]) => sum + Number(size), 0);

test('At rest the program takes no processor time, and its memory stays small after 1,000 requests and 10 runs', async () => {
  const server = await MailServer.start({ messages: smallMailbox(), user: 'joe', password: 'secret' });
  const bare = keepChild(spawn(wineProgram, [path.join(repository, 'build', 'windows', 'tests', 'desktop', 'desktop_bare.exe')],
    { env: desktop.env, stdio: 'ignore' }));
  try {
    await desktop.ask('windows');
    const app = await desktop.install({ settings: { POP_SERVER: `127.0.0.1:${server.popPort}`, TEST_MODE: 'TRUE' } });
    await desktop.run(app);
    await app.login();
    await desktop.minimize();
    const requests = async () => { for (let i = 0; i < 500; i++) await app.get(i % 20 ? '/quick.htm?s={s}' : '/'); };
    await requests();
    const half = privateMemory(app.child.pid);
    const logged = app.log().length;
    await requests();
    // The log is kept, as the text and as what the box makes of it; nothing else grows.
    const grown = privateMemory(app.child.pid) - half;
    const kept = (app.log().length - logged) / 1024;
    console.log(`figure: 500 requests more take ${grown} KB for ${kept.toFixed(0)} KB of log`);
    assert.ok(grown < 8 * kept + 512, `${grown} KB`);
    for (let i = 0; i < 10; i++) await app.get('/MAILFILTER.CGI?s={s}', { milliseconds: 60000 });
    const own = privateMemory(app.child.pid);
    const system = privateMemory(bare.pid);
    console.log(`figure: private memory ${own} KB, of a bare program with a window ${system} KB`);
    assert.ok(own < 16 * 1024, `${own} KB`);
    const before = processorTicks(app.child.pid);
    await new Promise((resolve) => setTimeout(resolve, 5000));
    const used = processorTicks(app.child.pid) - before;
    console.log(`figure: processor time in 5 seconds at rest: ${used * 10} ms`);
    assert.ok(used <= 5, `${used} ticks`);
  } finally {
    await desktop.ask(`end ${(await desktop.window({ class: 'VornelleBare' })).pid}`);
    await server.stop();
  }
});
