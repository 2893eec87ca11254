// What counts the tests tells the truth: what fails, crashes, hangs, is skipped or never ran is counted as failed.

import assert from 'node:assert/strict';
import { spawn, spawnSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { after, describe, test } from 'node:test';

import { repository } from '../support/launcher.mjs';
import { removeFolder, temporaryFolder, until } from '../support/tools.mjs';

const folder = temporaryFolder('runner');
after(() => removeFolder(folder));

function runner(files, { timeout = 900, status = 0 } = {}) {
  const results = fs.mkdtempSync(path.join(folder, 'results-'));
  // A test that runs inside a test must not think that it is one of the outer runner's children.
  const { NODE_TEST_CONTEXT, ...env } = process.env;
  const run = (...args) => spawnSync(process.execPath, [path.join(repository, 'tests/run.mjs'), ...args],
    { encoding: 'utf8', env: { ...env, VORNELLE_TEST_TIMEOUT: String(timeout) } });
  let said = '';
  let failures = 0;
  for (const [name, content] of Object.entries(files)) {
    const file = path.join(results, '..', name);
    if (content !== null) fs.writeFileSync(file, content, { mode: 0o755 });
    const one = run('--results', results, `ring/${name}`, file);
    said += one.stdout;
    if (one.status !== 0) failures++;
  }
  const count = run('--count', results, String(status));
  return { said, failures, counted: count.stdout, last: count.stdout.trimEnd().split('\n').pop(), status: count.status };
}

const header = "import { before, describe, test } from 'node:test';\n";
// A GoogleTest program as the runner sees one: it writes its report where it is told, and ends with a status.
const google = (report, end) => `#!/bin/sh\nfile="\${1#--gtest_output=json:}"\ncat > "$file" <<'END'\n` +
  `${JSON.stringify({ testsuites: [{ name: 'Suite', testsuite: report }] })}\nEND\n${end}\n`;

describe('runner', { concurrency: 2 }, () => {
  test('CountsWhatPassedInBothKindsOfPrograms', () => {
    const { last, status } = runner({
      'good_test.mjs': `${header}test('a', () => {}); describe('s', () => { test('b', () => {}); });`,
      good_test: google([{ name: 'A', status: 'RUN', result: 'COMPLETED' }], 'exit 0'),
    });
    assert.equal(last, '3 passed, 0 failed');
    assert.equal(status, 0);
  });

  for (const [what, files, expected, text] of [
    ['AFailedNodeTest', { 'bad_test.mjs': `${header}test('a', () => {}); test('b', () => { throw new Error('why'); });` },
      '1 passed, 1 failed', /--- b\n {4}Error: why/],
    ['ASkippedNodeTest', { 'skip_test.mjs': `${header}test('a', { skip: true }, () => {}); test('b', () => {});` },
      '1 passed, 1 failed', /--- a\n {4}skipped/],
    ['AFailedHook', { 'hook_test.mjs': `${header}test('a', () => {}); describe('s', () => { ` +
      "before(() => { throw new Error('hook'); }); test('b', () => {}); });" }, '1 passed, 2 failed', /Error: hook/],
    ['AFileThatDiesOfASignal', { 'dead_test.mjs': "process.kill(process.pid, 'SIGKILL');" }, '0 passed, 1 failed', /SIGKILL/],
    ['AFileThatDoesNotParse', { 'wrong_test.mjs': 'this is no program' }, '0 passed, 1 failed', /SyntaxError/],
    ['AFileWithoutTests', { 'none_test.mjs': '' }, '0 passed, 1 failed', /no test ran/],
    ['AFailedGoogleTest', { bad_test: google([{ name: 'A', status: 'RUN', result: 'COMPLETED', failures: [{ failure: 'why' }] },
      { name: 'B', status: 'RUN', result: 'COMPLETED' }], 'exit 1') }, '1 passed, 1 failed', /--- Suite\.A\n {4}why/],
    ['ASkippedGoogleTest', { skip_test: google([{ name: 'A', status: 'RUN', result: 'SKIPPED' },
      { name: 'B', status: 'RUN', result: 'COMPLETED' }], 'exit 0') }, '1 passed, 1 failed', /--- Suite\.A\n {4}skipped/],
    ['AGoogleTestProgramThatCrashesAfterItsTests', { crash_test: google([{ name: 'A', status: 'RUN', result: 'COMPLETED' }],
      'kill -SEGV $$') }, '1 passed, 1 failed', /SIGSEGV/],
    ['AGoogleTestProgramThatCrashesBeforeItsReport', { early_test: '#!/bin/sh\necho started\nkill -ABRT $$\n' },
      '0 passed, 1 failed', /no test ran[^]*started/],
    ['AProgramThatIsNotThere', { missing_test: null }, '0 passed, 1 failed', /ENOENT/],
  ]) {
    test(`Counts${what}AsFailed`, () => {
      const { said, failures, last, status } = runner(files);
      assert.equal(last, expected);
      assert.match(said, text);
      assert.equal(failures, 1);
      assert.equal(status, 1);
    });
  }

  test('CountsAProgramThatHangsAsFailed', () => {
    const { said, last, status } = runner({ hang_test: '#!/bin/sh\nexec sleep 60\n' }, { timeout: 1 });
    assert.equal(last, '0 passed, 1 failed');
    assert.match(said, /no end within 1 seconds/);
    assert.equal(status, 1);
  });

  test('CountsARunnerThatIsKilledAsFailed', async () => {
    const results = fs.mkdtempSync(path.join(folder, 'results-'));
    const file = path.join(folder, 'long_test');
    fs.writeFileSync(file, '#!/bin/sh\nexec sleep 60\n', { mode: 0o755 });
    const child = spawn(process.execPath, [path.join(repository, 'tests/run.mjs'), '--results', results, 'long', file]);
    await until(() => fs.existsSync(path.join(results, 'long.json')), 'its note');
    child.kill('SIGTERM');
    await until(() => child.exitCode !== null || child.signalCode !== null, 'its end');
    const count = spawnSync(process.execPath, [path.join(repository, 'tests/run.mjs'), '--count', results], { encoding: 'utf8' });
    assert.match(count.stdout, /0 passed, 1 failed\n$/);
    assert.equal(count.status, 1);
  });

  test('CountsWhatOnlyCtestSawFail', () => {
    const { last, status } = runner({ good_test: google([{ name: 'A', status: 'RUN', result: 'COMPLETED' }], 'exit 0') }, { status: 8 });
    assert.equal(last, '1 passed, 1 failed');
    assert.equal(status, 1);
  });

  test('IsNotContentWithNothingAtAll', () => {
    const { last, status } = runner({});
    assert.equal(last, '0 passed, 0 failed');
    assert.equal(status, 1);
  });

  test('TellsTheTenSlowestTestsAndWhatWasMeasured', () => {
    const tests = Array.from({ length: 12 }, (_, i) => ({ name: `T${i + 1}`, status: 'RUN', result: 'COMPLETED', time: `${i + 1}s` }));
    const { counted } = runner({ slow_test: google(tests, "echo 'figure: 3 apples'; exit 0") });
    assert.match(counted, /^ring\/slow_test: 3 apples$/m);
    assert.match(counted, /ten slowest tests:\n {3}12\.0 s {2}ring\/slow_test: Suite\.T12\n/);
    assert.match(counted, / 3\.0 s {2}ring\/slow_test: Suite\.T3\n12 passed/);
  });
});

// Every kind of program and file is found without being named anywhere.
test('CtestListsEveryTestFileAndProgram', () => {
  const listed = spawnSync('ctest', ['--preset', 'all', '-N'], { cwd: repository, encoding: 'utf8' }).stdout;
  for (const ring of ['system', 'browser', 'desktop', 'fuzz']) {
    for (const name of fs.readdirSync(path.join(repository, 'tests', ring)).filter((file) => file.endsWith('_test.mjs'))) {
      assert.ok(listed.includes(`: ${ring}/${path.parse(name).name}\n`), `${ring}/${name} is not listed`);
    }
  }
  assert.match(listed, /: linux\/mail_test\n/);
});
