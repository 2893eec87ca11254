// Start-up and shutdown as they look from outside: files, banner, log, settings, port, single copy.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import net from 'node:net';
import { describe, test } from 'node:test';

import { Application } from '../support/harness.mjs';
import { launch } from '../support/launcher.mjs';
import { converse, freePort, until } from '../support/tools.mjs';

const KEYS = ['EMAIL_ADDRESS', 'SMTP_SERVER', 'SMTP_USER', 'SMTP_PASSWORD', 'POP_SERVER', 'POP_ACCOUNT', 'POP_PASSWORD',
  'HTTP_PORT_CFG', 'CHECK_MIN', 'SESSION_MIN', 'MAX_SPAM_SIZE', 'MAX_LINK_SIZE', 'MESSAGES_PER_PAGE', 'NEW_WINDOW',
  'MAX_LINK_SIZE_ON', 'ACTIVATE_START', 'START_MINIMIZED', 'TEST_MODE'];
const CLOSING = ['***Closing Vornelle***', '************************'];
const keysOf = (text) => text.split('\r\n').slice(0, -1).map((line) => line.split('=')[0]);

async function withApplication(options, work) {
  const app = await Application.create(options);
  try { await work(app); } finally { await app.stop(); }
}

describe('start', { concurrency: 3 }, () => {
  test('AFreshFolderGetsItsSpamFolderItsListsAndALog', () => withApplication({ settings: null }, async (app) => {
    for (const list of ['friendlist', 'subjectlist', 'enemylist']) fs.rmSync(app.path(`data/${list}.txt`));
    await app.run();
    for (const list of ['friendlist', 'subjectlist', 'enemylist']) assert.equal(app.read(`data/${list}.txt`), '');
    assert.ok(fs.statSync(app.path('spam')).isDirectory());
    assert.match(app.log(), /^\[\d\d-\d\d-\d\d \d\d:\d\d [AP]M\] Creating spam subdirectory\.\.\.\r\n/);
    assert.deepEqual(app.events(), ['Creating spam subdirectory...', 'Test mode on. Spam will not be removed from InBox.']);
    assert.ok(app.port >= 7000);
    assert.ok(!app.exists('Vornelle.ini'), 'settings are written at the end, not at the start');
    await app.close();
    assert.deepEqual(keysOf(app.read('Vornelle.ini')), KEYS);
    assert.match(app.read('Vornelle.ini'), /^HTTP_PORT_CFG=7000\r$/m);
  }));

  test('TheBannerTellsTimeAndAddressAndIsNotLogged', () => withApplication({}, async (app) => {
    await app.run();
    assert.match(app.process.output, new RegExp('Vornelle started: \\d\\d-\\d\\d-\\d\\d \\d\\d:\\d\\d [AP]M\\r?\\n' +
      `To access on this computer, open a webbrowser and use the address: http://localhost:${app.port}\\r?\\n`));
    assert.ok(!app.log().includes('Vornelle started'));
  }));

  for (const template of ['config.htm', 'inbox.htm', 'list.htm', 'login.htm', 'spambox.htm', 'top.inc']) {
    test(`WithoutTheTemplate${template}TheProgramSaysSoSavesItsSettingsAndEnds`, () => withApplication({}, async (app) => {
      const file = fs.readdirSync(app.path('data')).find((name) => name.toLowerCase() === template);
      fs.rmSync(app.path(`data/${file}`));
      app.process = launch(app.folder);
      await app.ended();
      assert.match(app.process.errors, /Missing installation files\. Please reinstall\./);
      assert.deepEqual(keysOf(app.read('Vornelle.ini')), KEYS);
      assert.deepEqual(app.events().slice(-2), CLOSING);
    }));
  }

  test('WithoutTheDataFolderItEndsInTheSameWay', () => withApplication({}, async (app) => {
    fs.rmSync(app.path('data'), { recursive: true });
    app.process = launch(app.folder);
    await app.ended();
    assert.match(app.process.errors, /Missing installation files\. Please reinstall\./);
    assert.ok(!app.exists('data'), 'it comes with the installation');
    assert.deepEqual(app.events().slice(-2), CLOSING);
  }));

  test('TemplatesAndListsAreFoundInAnyLetterCase', () => withApplication({}, async (app) => {
    for (const name of fs.readdirSync(app.path('data'))) {
      fs.renameSync(app.path(`data/${name}`), app.path(`data/${name.toUpperCase()}`));
    }
    await app.run();
    assert.ok(await app.isServing());
    assert.ok(!app.exists('data/friendlist.txt'), 'no second list beside the one in capitals');
  }));

  test('ASecondCopyWarnsWaitsAndEndsWithoutTouchingTheSettings', () => withApplication({}, async (app) => {
    await app.run();
    const settings = app.read('Vornelle.ini') + 'MARK=1\r\n';
    app.write('Vornelle.ini', settings);
    const start = Date.now();
    const second = launch(app.folder);
    await until(() => second.ended, 'the end of the second copy', 15000);
    assert.ok(Date.now() - start >= 5000, `${Date.now() - start} ms`);
    assert.equal(app.read('Vornelle.ini'), settings);
    assert.deepEqual(app.events().slice(-4),
      [' ', '***Vornelle is already running! This instance will terminate in 5 seconds.', ...CLOSING]);
    assert.ok(await app.isServing(), 'the first copy');
  }));

  test('TheSameProgramInAnotherFolderIsNoSecondCopy', () => withApplication({}, (one) => withApplication({}, async (two) => {
    await one.run();
    await two.run();
    assert.ok(await one.isServing() && await two.isServing());
    assert.ok(!two.log().includes('already running'));
  })));

  test('ACopyAfterOneThatWasKilledIsNoSecondCopy', () => withApplication({}, async (app) => {
    await app.run();
    app.process.kill();
    await app.ended();
    await app.run();
    assert.ok(!app.log().includes('already running'));
    assert.ok(await app.isServing());
  }));

  test('AutomaticFilteringSwitchedOnByTheSettingsIsLogged', () => withApplication(
    { settings: { ACTIVATE_START: 'TRUE', TEST_MODE: 'TRUE' } }, async (app) => {
      await app.run();
      assert.ok(app.events().includes('Automatic mail filtering on'));
      assert.ok(app.events().includes('Test mode on. Spam will not be removed from InBox.'));
    }));
});

describe('port', { concurrency: 3 }, () => {
  test('ATakenPortIsPassedByAndTheSettingStays', () => withApplication({}, async (app) => {
    const taken = Number(/HTTP_PORT_CFG=(\d+)/.exec(app.read('Vornelle.ini'))[1]);
    const listener = net.createServer();
    await new Promise((resolve) => listener.listen(taken, '0.0.0.0', resolve));
    await app.run();
    assert.ok(app.port > taken, `${app.port}`);
    assert.ok(await app.isServing());
    await app.close();
    assert.match(app.read('Vornelle.ini'), new RegExp(`^HTTP_PORT_CFG=${taken}\r$`, 'm'));
    await new Promise((resolve) => listener.close(resolve));
  }));

  test('PortZeroIsEightyOrTheNextFreeOne', () => withApplication({ settings: { HTTP_PORT_CFG: '0' } }, async (app) => {
    await app.run();
    assert.ok(app.port >= 80 && app.port < 1200, `${app.port}`);
  }));

  test('ARestartGetsItsPortBack', () => withApplication({}, async (app) => {
    await app.run();
    const first = app.port;
    await app.get('/');
    await app.close();
    await app.run();
    assert.equal(app.port, first);
  }));
});

describe('end', { concurrency: 3 }, () => {
  test('TheCloseButtonLogsTwoLinesAndSavesEighteen', () => withApplication(
    { settings: { SESSION_MIN: '99', NEW_WINDOW: 'no', MESSAGES_PER_PAGE: '7.9', MAX_LINK_SIZE: 'x' } }, async (app) => {
      await app.run();
      assert.deepEqual(await app.close(), { code: 0, signal: null });
      assert.deepEqual(app.events().slice(-2), CLOSING);
      const text = app.read('Vornelle.ini');
      assert.deepEqual(keysOf(text), KEYS);
      for (const line of ['SESSION_MIN=60', 'NEW_WINDOW=FALSE', 'MESSAGES_PER_PAGE=7', 'MAX_LINK_SIZE=10',
        'CHECK_MIN=30', 'MAX_LINK_SIZE_ON=TRUE', 'TEST_MODE=FALSE', 'POP_ACCOUNT=joe']) {
        assert.ok(text.includes(`${line}\r\n`), line);
      }
    }));

  test('UnloadmeNeedsNoLoginAndGetsNoAnswer', () => withApplication({}, async (app) => {
    await app.run();
    assert.equal(await converse(app.port, ['GET /UNLOADME HTTP/1.0', '']), '');
    await app.ended();
    assert.deepEqual(app.events().slice(-2), CLOSING);
    assert.ok(!app.log().includes('request complete'));
    assert.deepEqual(keysOf(app.read('Vornelle.ini')), KEYS);
  }));

  test('WhileTheOverrideFileExistsOnlyItIsReadAndWritten', () => withApplication({}, async (app) => {
    const port = await freePort();
    app.write('pell-Vornelle.ini', `HTTP_PORT_CFG=${port}\r\nPOP_ACCOUNT=override\r\n`);
    const normal = app.read('Vornelle.ini');
    await app.run();
    assert.equal(app.port, port);
    await app.close();
    assert.equal(app.read('Vornelle.ini'), normal);
    assert.deepEqual(keysOf(app.read('pell-Vornelle.ini')), KEYS);
    assert.match(app.read('pell-Vornelle.ini'), /^POP_ACCOUNT=override\r$/m);
  }));

  test('TheLogGrowsFromRunToRun', () => withApplication({ files: { 'Vornelle.log': 'older line\r\n' } }, async (app) => {
    for (let run = 0; run < 2; run++) {
      await app.run();
      await app.close();
    }
    assert.ok(app.log().startsWith('older line\r\n'));
    assert.equal(app.events().filter((event) => event === CLOSING[0]).length, 2);
  }));
});
