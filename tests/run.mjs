// Runs test programs and says how many tests passed and failed, as its very last line: "N passed, N failed".
//
//   node tests/run.mjs [--jobs N] [--timeout SECONDS] FILE... [--alone FILE]...
//
// The files named by --alone come after the others, one at a time: those that drive browsers and windows, which have to
// keep up with the clock of the program in front of them.
//
// A FILE that ends in .mjs is a file of node:test tests, one that ends in .exe a GoogleTest program for Windows, any
// other one a GoogleTest program. A program that crashes,
// hangs or runs no test at all counts as a failed test, and so does a test that was skipped: nothing goes missing
// unseen. Status 0 only when at least one test ran and none failed.

import { spawn } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';

import { keepChild, removeFolder, temporaryFolder } from './support/tools.mjs';

const here = path.dirname(fileURLToPath(import.meta.url));
const { values, positionals } = parseArgs({
  options: {
    // One more than there are processors: the outer rings wait more than they work.
    jobs: { type: 'string', default: String(os.cpus().length + 1) },
    timeout: { type: 'string', default: '300' },
    alone: { type: 'string', multiple: true, default: [] },
  },
  allowPositionals: true,
});
const scratch = temporaryFolder('run-tests');

// Runs a program to its end; { output, ended } where ended is "" for status 0.
function run(program, args, options = {}) {
  return new Promise((resolve) => {
    const child = keepChild(spawn(program, args, { ...options, stdio: ['ignore', 'pipe', 'pipe'] }), 'SIGTERM');
    const pieces = [];
    let late = '';
    const collect = (data) => pieces.push(data);
    child.stdout.on('data', collect);
    child.stderr.on('data', collect);
    // A program that hangs may tidy up first.
    const timer = setTimeout(() => {
      late = `no end within ${values.timeout} seconds`;
      child.kill('SIGTERM');
      setTimeout(() => child.kill('SIGKILL'), 5000).unref();
    }, Number(values.timeout) * 1000);
    child.once('error', (error) => { clearTimeout(timer); resolve({ output: '', ended: String(error) }); });
    child.once('close', (code, signal) => {
      clearTimeout(timer);
      resolve({
        output: Buffer.concat(pieces).toString(),
        ended: late || (signal ? `ended by ${signal}` : code === 0 ? '' : `ended with status ${code}`),
      });
    });
  });
}

// Each result: { name, ok, text }.
async function runNodeTests(file, index) {
  const report = path.join(scratch, `${index}.jsonl`);
  fs.writeFileSync(report, '');
  const { output, ended } = await run(process.execPath, [
    '--test-reporter', path.join(here, 'support', 'reporter.mjs'), '--test-reporter-destination', report, file]);
  const results = fs.readFileSync(report, 'utf8').split('\n').filter(Boolean).map((line) => JSON.parse(line));
  return { results, output, ended };
}

// Windows programs cannot be given a full disk from inside, nor a time zone: their tests find both around them.
const FILE_LIMIT = 24 * 1024 * 1024;

async function runOnWindows(program, report) {
  const { WineRun, windowsPath, wineProgram } = await import('./desktop/wine.mjs');
  const wine = await WineRun.start({
    TZ: 'CET-1CEST,M3.5.0,M10.5.0/3', http_proxy: '', VORNELLE_TEST_FILE_LIMIT: String(FILE_LIMIT) });
  try {
    // What grows past the limit fails, as a write to a full disk does; the signal would end the process instead.
    return await run('bash', ['-c', `trap '' XFSZ; ulimit -f ${FILE_LIMIT / 1024}; exec "$@"`, 'bash', wineProgram,
      path.resolve(program), `--gtest_output=json:${windowsPath(report)}`, '--gtest_brief=1'], { env: wine.env });
  } finally {
    await wine.stop();
  }
}

async function runGoogleTests(program, index) {
  const report = path.join(scratch, `${index}.json`);
  const { output, ended } = program.endsWith('.exe') ? await runOnWindows(program, report)
    : await run(program, [`--gtest_output=json:${report}`, '--gtest_brief=1']);
  const results = [];
  if (fs.existsSync(report)) {
    for (const suite of JSON.parse(fs.readFileSync(report, 'utf8')).testsuites) {
      for (const test of suite.testsuite) {
        const failures = (test.failures ?? []).map((failure) => failure.failure);
        const ran = test.status === 'RUN' && test.result !== 'SKIPPED';
        results.push({
          name: `${suite.name}.${test.name}`,
          ok: ran && failures.length === 0,
          text: ran ? failures.join('\n') : 'skipped',
        });
      }
    }
  }
  return { results, output, ended };
}

let passed = 0;
let failed = 0;

async function runFile(file, index) {
  const start = Date.now();
  const { results, output, ended } = await (file.endsWith('.mjs') ? runNodeTests : runGoogleTests)(file, index);
  const bad = results.filter((result) => !result.ok);
  if (results.length === 0) bad.push({ name: file, text: `no test ran ${ended}` });
  else if (ended && bad.length === 0) bad.push({ name: file, text: ended });
  else if (ended && !/status 1$/.test(ended)) bad.push({ name: file, text: ended });
  const good = results.filter((result) => result.ok).length;
  passed += good;
  failed += bad.length;
  const name = path.relative(process.cwd(), path.resolve(file));
  console.log(`${bad.length ? 'FAIL' : 'ok  '} ${name}: ${good} passed, ${bad.length} failed, ` +
    `${((Date.now() - start) / 1000).toFixed(1)} s`);
  for (const { name: test, text } of bad) console.log(`--- ${test}\n${text.replace(/^/gm, '    ')}`);
  // What a test has measured.
  for (const [line] of output.matchAll(/^.*\bfigure: .*$/gm)) console.log(`     ${line.replace(/^.*\bfigure: /, '')}`);
  if (bad.length && output.trim()) console.log(`--- what ${name} said\n${output.trim().replace(/^/gm, '    ')}`);
}

const queue = positionals.map((file, index) => [file, index]);
async function worker() {
  for (let next = queue.shift(); next; next = queue.shift()) await runFile(...next);
}
await Promise.all(Array.from({ length: Number(values.jobs) }, worker));
for (const [index, file] of values.alone.entries()) await runFile(file, positionals.length + index);
removeFolder(scratch);
console.log(`${passed} passed, ${failed} failed`);
process.exitCode = passed > 0 && failed === 0 ? 0 : 1;
