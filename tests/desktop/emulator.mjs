// Runs a test program for Windows under a Wine of its own and ends like it. ctest puts it in front of these programs.
//
//   node tests/desktop/emulator.mjs PROGRAM.exe ARGUMENT...

import { spawn } from 'node:child_process';
import path from 'node:path';

import { keepChild } from '../support/tools.mjs';
import { WineRun, windowsPath, wineProgram } from './wine.mjs';

// Windows programs cannot be given a full disk from inside, nor a time zone: their tests find both around them.
const FILE_LIMIT = 24 * 1024 * 1024;

const [program, ...args] = process.argv.slice(2);
// Where a report goes is named in the way of this system.
const translated = args.map((arg) => arg.replace(/^(--gtest_output=json:)(\/.*)$/, (all, option, file) => option + windowsPath(file)));
const wine = await WineRun.start({
  TZ: 'CET-1CEST,M3.5.0,M10.5.0/3', http_proxy: '', VORNELLE_TEST_FILE_LIMIT: String(FILE_LIMIT) });
try {
  // What grows past the limit fails, as a write to a full disk does; the signal would end the process instead.
  const child = keepChild(spawn('bash', ['-c', `trap '' XFSZ; ulimit -f ${FILE_LIMIT / 1024}; exec "$@"`, 'bash',
    wineProgram, path.resolve(program), ...translated], { env: wine.env, stdio: ['ignore', 'inherit', 'inherit'] }));
  process.exitCode = await new Promise((resolve) => {
    child.once('error', (error) => { console.error(String(error)); resolve(127); });
    child.once('exit', (code) => resolve(code ?? 128));
  });
} finally {
  await wine.stop();
}
