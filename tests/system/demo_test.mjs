// What script/run shows really happens.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';

import { DEMO_KEPT, DEMO_MESSAGES, DEMO_SPAM } from '../support/demo_maildrop.mjs';
import { get } from '../support/bare_http.mjs';
import { repository } from '../support/launcher.mjs';
import { freePort, keepChild, removeFolder, temporaryFolder, until } from '../support/tools.mjs';

async function demo(...args) {
  const folder = temporaryFolder('demo');
  const child = keepChild(spawn(process.execPath,
    [path.join(repository, 'tests/support/demo.mjs'), '--port', String(await freePort()), ...args, folder]), 'SIGTERM');
  child.said = '';
  for (const stream of [child.stdout, child.stderr]) stream.on('data', (data) => { child.said += data; });
  child.once('close', (code) => { child.ended = { code }; });
  return { child, folder };
}

test('OnceFiltersTheDemoMailboxAndEndsWithStatusZero', async () => {
  const { child, folder } = await demo('--once');
  await until(() => child.ended, 'the end of the demo', 40000);
  assert.deepEqual(child.ended, { code: 0 }, child.said);
  assert.ok(child.said.includes(`Mail filtered:  ${DEMO_KEPT} msgs.  ${DEMO_SPAM} spam.`), child.said);
  assert.equal(fs.readdirSync(path.join(folder, 'application', 'spam')).length, DEMO_SPAM);
  assert.equal(fs.readdirSync(path.join(folder, 'maildrop')).length, DEMO_KEPT);
  assert.equal(DEMO_KEPT + DEMO_SPAM, DEMO_MESSAGES);
  removeFolder(folder);
});

test('WithTlsTheSameHappensOverEncryptedLines', async () => {
  const { child, folder } = await demo('--once', '--tls');
  await until(() => child.ended, 'the end of the demo', 40000);
  assert.deepEqual(child.ended, { code: 0 }, child.said);
  assert.ok(child.said.includes(`Mail filtered:  ${DEMO_KEPT} msgs.  ${DEMO_SPAM} spam.`), child.said);
  assert.match(fs.readFileSync(path.join(folder, 'application', 'Vornelle.ini'), 'latin1'), /^POP_SERVER=tls:\/\//m);
  removeFolder(folder);
});

test('WithoutItTheDemoTellsTheAddressAndStaysUntilItIsInterrupted', async () => {
  const { child, folder } = await demo();
  const address = await until(() => {
    if (child.ended) throw new Error(child.said);
    return /Password:\s+marmalade[^]*Ctrl-C/.test(child.said) && /web interface:\s+http:\/\/localhost:(\d+)\//.exec(child.said);
  }, 'the address', 40000);
  assert.match(await get(Number(address[1]), '/'), /POP_ACCOUNT/i);
  child.kill('SIGINT');
  await until(() => child.ended, 'the end of the demo');
  assert.equal(child.ended.code, 0);
  assert.match(child.said, /\*\*\*Closing Vornelle\*\*\*/);
  removeFolder(folder);
});
