// What the tests need beyond ctest, which starts them: every single test is counted.
//
//   node tests/run.mjs --results FOLDER NAME COMMAND...   runs one program and notes its tests in FOLDER
//   node tests/run.mjs --count FOLDER [STATUS]            sums up: what was measured, the ten slowest tests and, as its
//                                                         very last line, "N passed, N failed"
//
// COMMAND is a file of node:test tests (*.mjs) or a GoogleTest program, with its emulator in front of it if it needs
// one. A program that crashes, hangs or runs no test at all counts as a failed test, and so does a test that was
// skipped: nothing goes missing unseen. STATUS is what ctest ended with: when it saw a failure, so do we. Ends with 0
// only when at least one test ran and none failed.

import { spawn } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

import { keepChild, removeFolder, temporaryFolder } from './support/tools.mjs';

const here = path.dirname(fileURLToPath(import.meta.url));
const TIMEOUT = Number(process.env.VORNELLE_TEST_TIMEOUT ?? 900);  // seconds

// Runs a program to its end; { output, ended } where ended is "" for status 0.
function run([program, ...args]) {
  return new Promise((resolve) => {
    const child = keepChild(spawn(program, args, { stdio: ['ignore', 'pipe', 'pipe'] }), 'SIGTERM');
    const pieces = [];
    let late = '';
    for (const stream of [child.stdout, child.stderr]) stream.on('data', (data) => pieces.push(data));
    // A program that hangs may tidy up first.
    const timer = setTimeout(() => {
      late = `no end within ${TIMEOUT} seconds`;
      child.kill('SIGTERM');
      setTimeout(() => child.kill('SIGKILL'), 5000).unref();
    }, TIMEOUT * 1000);
    child.once('error', (error) => { clearTimeout(timer); resolve({ output: '', ended: String(error) }); });
    child.once('close', (code, signal) => {
      clearTimeout(timer);
      const how = late || (signal ? `ended by ${signal}` : code === 0 ? '' : `ended with status ${code}`);
      resolve({ output: Buffer.concat(pieces).toString(), ended: how });
    });
  });
}

// Each test: { name, ok, text, milliseconds }.
async function runNodeTests(file, report) {
  fs.writeFileSync(report, '');
  const ran = await run([process.execPath, '--test-reporter', path.join(here, 'support', 'reporter.mjs'),
    '--test-reporter-destination', report, file]);
  return { ...ran, tests: fs.readFileSync(report, 'utf8').split('\n').filter(Boolean).map((line) => JSON.parse(line)) };
}

async function runGoogleTests(command, report) {
  const ran = await run([...command, `--gtest_output=json:${report}`, '--gtest_brief=1']);
  const suites = fs.existsSync(report) ? JSON.parse(fs.readFileSync(report, 'utf8')).testsuites : [];
  const tests = suites.flatMap((suite) => suite.testsuite.map((test) => {
    const failures = (test.failures ?? []).map((failure) => failure.failure);
    const done = test.status === 'RUN' && test.result !== 'SKIPPED';
    return {
      name: `${suite.name}.${test.name}`,
      ok: done && failures.length === 0,
      text: done ? failures.join('\n') : 'skipped',
      milliseconds: parseFloat(test.time) * 1000,
    };
  }));
  return { ...ran, tests };
}

async function runOne(folder, name, command) {
  fs.mkdirSync(folder, { recursive: true });
  const result = path.join(folder, `${name.replaceAll('/', '.')}.json`);
  // Whatever ends this process first leaves a failed test behind.
  fs.writeFileSync(result, JSON.stringify({ name, tests: [{ name, ok: false, text: 'it never ended' }], figures: [] }));
  const scratch = temporaryFolder('run-tests');
  const { output, ended, tests } = await (command.at(-1).endsWith('.mjs')
    ? runNodeTests(command.at(-1), path.join(scratch, 'report')) : runGoogleTests(command, path.join(scratch, 'report')));
  removeFolder(scratch);
  const bad = tests.filter((test) => !test.ok);
  if (tests.length === 0) bad.push({ name, ok: false, text: `no test ran ${ended}` });
  else if (ended && (bad.length === 0 || !/status 1$/.test(ended))) bad.push({ name, ok: false, text: ended });
  const figures = [...output.matchAll(/\bfigure: (.*)$/gm)].map(([, figure]) => figure);
  fs.writeFileSync(result, JSON.stringify({ name, tests: [...tests.filter((test) => test.ok), ...bad], figures }));
  for (const { name: test, text } of bad) console.log(`--- ${test}\n${text.replace(/^/gm, '    ')}`);
  if (bad.length && output.trim()) console.log(`--- what ${name} said\n${output.trim().replace(/^/gm, '    ')}`);
  return bad.length === 0;
}

function count(folder, status = '0') {
  const programs = fs.existsSync(folder) ? fs.readdirSync(folder).sort().map((name) =>
    JSON.parse(fs.readFileSync(path.join(folder, name), 'utf8'))) : [];
  const tests = programs.flatMap((program) => program.tests.map((test) => ({ ...test, program: program.name })));
  const bad = tests.filter((test) => !test.ok);
  if (status !== '0' && bad.length === 0) bad.push({ program: 'ctest', name: `ended with status ${status}` });
  for (const { name, figures } of programs) for (const figure of figures) console.log(`${name}: ${figure}`);
  console.log('The ten slowest tests:');
  const slowest = tests.filter((test) => test.milliseconds).sort((a, b) => b.milliseconds - a.milliseconds).slice(0, 10);
  for (const { program, name, milliseconds } of slowest) {
    console.log(`${(milliseconds / 1000).toFixed(1).padStart(7)} s  ${program}: ${name}`);
  }
  for (const { program, name } of bad) console.log(`FAIL ${program}: ${name}`);
  const passed = tests.filter((test) => test.ok).length;
  console.log(`${passed} passed, ${bad.length} failed`);
  return passed > 0 && bad.length === 0;
}

const [what, folder, ...rest] = process.argv.slice(2);
const good = what === '--count' ? count(folder, ...rest)
  : what === '--results' && rest.length > 1 && await runOne(folder, rest[0], rest.slice(1));
process.exitCode = good ? 0 : 1;
