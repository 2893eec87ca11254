// Every fuzz target runs for a while on every run of the tests; a crash, a leak or a hang fails it.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { existsSync, mkdtempSync, readdirSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { describe, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { keepChild } from '../support/tools.mjs';

const folder = fileURLToPath(new URL('../../build/asan/fuzz/', import.meta.url));
const seeds = fileURLToPath(new URL('../../fuzz/seeds/', import.meta.url));
const targets = readdirSync(folder).filter((name) => name.endsWith('_fuzz'));
// The parser that stands towards the network gets a minute, the whole gateway, which works with files, half of one, the
// others less.
const seconds = (target) => ({ http_request_fuzz: 60, gateway_fuzz: 30 }[target] ?? 15);

test('there are fuzz targets', () => {
  assert.ok(targets.includes('http_request_fuzz'), `found: ${targets}`);
});

// Inputs that show the way to what chance finds late; new ones are written to the corpus, the first folder.
const seedsOf = (target) => [seeds + target].filter((folder) => existsSync(folder));

async function fuzz(target, corpus) {
  const child = keepChild(spawn(join(folder, target),
    [`-max_total_time=${seconds(target)}`, '-max_len=8192', '-timeout=60', '-rss_limit_mb=2048', corpus, ...seedsOf(target)],
    { cwd: corpus, stdio: ['ignore', 'ignore', 'pipe'] }));
  let said = '';
  child.stderr.on('data', (data) => { said += data; });
  const status = await new Promise((resolve) => child.once('close', (code, signal) => resolve(code ?? signal)));
  return { status, said };
}

// Each of them keeps one processor busy.
describe('fuzzing', { concurrency: 2 }, () => {
  for (const target of targets) {
    test(`${target} finds nothing in ${seconds(target)} seconds`, async () => {
      const corpus = mkdtempSync(join(tmpdir(), 'vornelle-fuzz-'));
      try {
        const { status, said } = await fuzz(target, corpus);
        assert.equal(status, 0, said.slice(-4000));
        const runs = Number(/Done (\d+) runs/.exec(said)?.[1] ?? 0);
        assert.ok(runs > 1000, `only ${runs} runs:\n${said.slice(-1000)}`);
      } finally {
        rmSync(corpus, { recursive: true, force: true });
      }
    });
  }
});
