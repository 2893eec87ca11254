// What the program makes of a settings file, seen in the file that it writes at its end.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import { describe, test } from 'node:test';

import { settingsForm } from '../support/forms.mjs';
import { Application } from '../support/harness.mjs';

// Runs the program on these lines (and a port of its own); the lines that it saves, as { KEY: value }.
async function savedFrom(lines) {
  const app = await Application.create();
  try {
    const port = /^HTTP_PORT_CFG=\d+\r\n/m.exec(app.read('Vornelle.ini'))[0];
    app.write('Vornelle.ini', lines.map((line) => `${line}\r\n`).join('') + port);
    await app.run();
    await app.close();
    const saved = app.read('Vornelle.ini').split('\r\n').slice(0, -1);
    assert.equal(saved.length, 18);
    return Object.fromEntries(saved.map((line) => [line.split('=')[0], line.slice(line.indexOf('=') + 1)]));
  } finally {
    await app.stop();
  }
}

// Lines that the program reads one at a time, each with the value that it saves for that key. One start reads a line of each.
const SINGLE = {
  CHECK_MIN: { 'CHECK_MIN=75': '60', 'CHECK_MIN=abc': '10', 'CHECK_MIN=  45 minutes': '45', 'CHECK_MIN=9.6': '10',
    'CHECK_MIN=10.5': '10', 'CHECK_MIN=11.5': '12', 'CHECK_MIN=&H20': '32', 'CHECK_MIN=20 45': '20' },
  MAX_SPAM_SIZE: { 'MAX_SPAM_SIZE=30001': '30000', 'MAX_SPAM_SIZE=-4': '10', 'MAX_SPAM_SIZE=3e2': '300' },
  NEW_WINDOW: { 'NEW_WINDOW=yes': 'FALSE', 'NEW_WINDOW=1': 'FALSE', 'NEW_WINDOW=true': 'TRUE', 'new_window is not True': 'TRUE' },
  MESSAGES_PER_PAGE: { 'MESSAGES_PER_PAGE=0': '0', 'MESSAGES_PER_PAGE=7.9': '7', 'MESSAGES_PER_PAGE=-3.2': '-4',
    'MESSAGES_PER_PAGE=x': '15', 'MESSAGES_PER_PAGE=40000': '15' },
};
const starts = new Map();
function savedFromStart(number) {
  const lines = Object.values(SINGLE).flatMap((cases) => Object.keys(cases).slice(number, number + 1));
  if (!starts.has(number)) starts.set(number, savedFrom(lines));
  return starts.get(number);
}

async function assertSaved(key) {
  for (const [number, [line, value]] of Object.entries(SINGLE[key]).entries()) {
    assert.equal((await savedFromStart(number))[key], value, line);
  }
}

describe('settings file', { concurrency: 3 }, () => {
  test('MissingKeysHaveTheirDefaults', async () => {
    const { HTTP_PORT_CFG, ...others } = await savedFrom(['check_min=5']);
    assert.match(HTTP_PORT_CFG, /^\d+$/);
    assert.deepEqual(others, { EMAIL_ADDRESS: '', SMTP_SERVER: '', SMTP_USER: '', SMTP_PASSWORD: '', POP_SERVER: '',
      POP_ACCOUNT: '', POP_PASSWORD: '', CHECK_MIN: '10', SESSION_MIN: '30', MAX_SPAM_SIZE: '150', MAX_LINK_SIZE: '150',
      MESSAGES_PER_PAGE: '15', NEW_WINDOW: 'TRUE', MAX_LINK_SIZE_ON: 'TRUE', ACTIVATE_START: 'FALSE',
      START_MINIMIZED: 'FALSE', TEST_MODE: 'TRUE' });
  });

  test('MinutesAreClampedAndReadAsTheNumberAtTheStart', () => assertSaved('CHECK_MIN'));

  test('SizesAreClamped', () => assertSaved('MAX_SPAM_SIZE'));

  test('TheLinkSizeSwitchIsNotTakenForTheLinkSize', async () => {
    const saved = await savedFrom(['MAX_LINK_SIZE_ON=FALSE']);
    assert.equal(saved.MAX_LINK_SIZE_ON, 'FALSE');
    assert.equal(saved.MAX_LINK_SIZE, '150');
  });

  test('OnlyALineWithTheWordTrueIsTrue', () => assertSaved('NEW_WINDOW'));

  test('MessagesPerPageIsRoundedDownAndHasNoRange', () => assertSaved('MESSAGES_PER_PAGE'));

  test('KeysAreTheStartOfALineAndTheLastLineWins', async () => {
    const saved = await savedFrom(['SMTP_SERVERX=a', ' POP_SERVER=b', 'EMAIL_ADDRESS', 'smtp_user=first', 'SMTP_USER=  x = y  ',
      'nonsense', '', '=', 'POP_ACCOUNT=\xfcnal']);
    assert.equal(saved.SMTP_SERVER, 'a');
    assert.equal(saved.POP_SERVER, '');
    assert.equal(saved.EMAIL_ADDRESS, 'EMAIL_ADDRESS');
    assert.equal(saved.SMTP_USER, 'x = y');
    assert.equal(saved.POP_ACCOUNT, '\xfcnal');
  });

  // The program puts new content beside a file under a name of its own: a folder of that name is in the way.
  test('AFileThatCannotBeReplacedIsWrittenInPlace', async () => {
    const app = await Application.start({ settings: { CHECK_MIN: 30 } });
    try {
      const hash = [...Buffer.from('Vornelle.ini')].reduce((value, byte) =>
        BigInt.asUintN(64, (value ^ BigInt(byte)) * 0x100000001b3n), 0xcbf29ce484222325n);
      const inTheWay = app.path(`.vornelle-${hash.toString(16).padStart(16, '0')}.tmp`);
      fs.mkdirSync(inTheWay);
      const { ino } = fs.statSync(app.path('Vornelle.ini'));
      await app.login();
      await app.post('/configupdate.cgi?s={s}', settingsForm({ CHECK_MIN: '44' }));
      assert.match(app.read('Vornelle.ini'), /^CHECK_MIN=44\r$/m);
      assert.equal(fs.statSync(app.path('Vornelle.ini')).ino, ino, 'the same file');
      fs.rmdirSync(inTheWay);
    } finally {
      await app.stop();
    }
  });

  test('APortThatIsNoNumberIsKeptAsTextAndSevenThousandIsListenedOn', async () => {
    const app = await Application.create();
    try {
      app.write('Vornelle.ini', 'HTTP_PORT_CFG=web\r\n');
      await app.run();
      assert.ok(app.port >= 7000 && app.port < 7100, `${app.port}`);
      await app.close();
      assert.match(app.read('Vornelle.ini'), /^HTTP_PORT_CFG=web\r$/m);
    } finally {
      await app.stop();
    }
  });

  test('ALogInWhileTheSettingsAreEmptyTakesEmptyFields', async () => {
    const app = await Application.create();
    try {
      app.write('Vornelle.ini', /^HTTP_PORT_CFG=\d+\r\n/m.exec(app.read('Vornelle.ini'))[0]);
      await app.run();
      await app.login('', '');
      assert.ok(app.events().includes('Successful login: '));
    } finally {
      await app.stop();
    }
  });
});
