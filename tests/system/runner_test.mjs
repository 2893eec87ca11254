// The runner tells the truth: what fails, crashes, hangs, is skipped or never ran is counted as failed.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { after, describe, test } from 'node:test';

import { repository } from '../support/launcher.mjs';
import { removeFolder, temporaryFolder } from '../support/tools.mjs';

const folder = temporaryFolder('runner');
after(() => removeFolder(folder));

function runner(files, ...options) {
  const names = Object.entries(files).map(([name, content]) => {
    const file = path.join(folder, name);
    fs.writeFileSync(file, content, { mode: 0o755 });
    return file;
  });
  // A test that runs inside a test must not think that it is one of the outer runner's children.
  const { NODE_TEST_CONTEXT, ...env } = process.env;
  const { stdout, status } = spawnSync(process.execPath,
    [path.join(repository, 'tests/run.mjs'), ...options, ...names], { encoding: 'utf8', env });
  return { said: stdout, last: stdout.trimEnd().split('\n').pop(), status };
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
    ['AProgramThatIsNotThere', { '../missing_test': null }, '0 passed, 1 failed', /ENOENT/],
  ]) {
    test(`Counts${what}AsFailed`, () => {
      const { said, last, status } = files['../missing_test'] === null
        ? runner({}, path.join(folder, 'missing_test')) : runner(files);
      assert.equal(last, expected);
      assert.match(said, text);
      assert.equal(status, 1);
    });
  }

  test('CountsAProgramThatHangsAsFailed', () => {
    const { said, last, status } = runner({ hang_test: '#!/bin/sh\nexec sleep 60\n' }, '--timeout', '1');
    assert.equal(last, '0 passed, 1 failed');
    assert.match(said, /no end within 1 seconds/);
    assert.equal(status, 1);
  });
  test('IsNotContentWithNothingAtAll', () => {
    const { last, status } = runner({});
    assert.equal(last, '0 passed, 0 failed');
    assert.equal(status, 1);
  });
});
