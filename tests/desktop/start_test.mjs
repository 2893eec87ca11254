// How soon the Windows program is there, beside a program that does nothing but show a window.
// ctest: serial

import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { after, afterEach, before, test } from 'node:test';

import { repository } from '../support/launcher.mjs';
import { keepChild, listening, until } from '../support/tools.mjs';
import { Desktop, PROGRAM_FOLDER, wineProgram } from './wine.mjs';

let desktop;
before(async () => {
  // All on one processor. A start asks Wine's server and the screen hundreds of times; how long another processor takes to
  // wake up for each of these decides otherwise, and a quiet machine is slower than a busy one.
  const processor = /^Cpus_allowed_list:.*?(\d+)$/m.exec(fs.readFileSync('/proc/self/status', 'utf8'))[1];
  execFileSync('taskset', ['-a', '-c', '-p', processor, String(process.pid)], { stdio: 'ignore' });
  desktop = await Desktop.start();
});
after(async () => { await desktop?.stop(); });
afterEach(async () => { for (const app of desktop.apps) await app.stop(); });

test('The program file is below 1.25 MB, and listens soon after its start', async () => {
  const size = fs.statSync(path.join(PROGRAM_FOLDER, 'vornelle.exe')).size;
  console.log(`figure: program file ${(size / 1024).toFixed(0)} KB`);
  assert.ok(size < 1.25 * 1024 * 1024);

  const bareStart = async () => {
    const start = Date.now();
    const bare = keepChild(spawn(wineProgram, [path.join(repository, 'build', 'windows', 'tests', 'desktop', 'desktop_bare.exe')],
      { env: desktop.env, stdio: 'ignore' }));
    await until(async () => await desktop.xdotool('search', '--onlyvisible', '--name', '^Bare$').catch(() => ''),
      'the bare window');
    const took = Date.now() - start;
    await desktop.ask(`end ${(await desktop.window({ class: 'VornelleBare' })).pid}`);
    await until(() => bare.exitCode !== null, 'the end of the bare program');
    return took;
  };
  const programStart = async () => {
    const app = await desktop.install();
    const start = Date.now();
    app.launch();
    await listening(app.wantedPort, 'the listener');
    const took = Date.now() - start;
    await app.stop();
    return took;
  };
  // The quickest start of each counts: everything slower is other work of the machine's. A busy machine gets more tries.
  const times = { bare: [], program: [] };
  const best = (list) => Math.min(...list);
  const isQuick = () => best(times.program) < 1.5 * best(times.bare);
  for (let i = 0; i < 15 && (i < 3 || !isQuick()); i++) {
    times.bare.push(await bareStart());
    times.program.push(await programStart());
  }
  console.log(`figure: start to listening ${times.program.join(', ')} ms; a bare window ${times.bare.join(', ')} ms`);
  assert.ok(isQuick(), `${best(times.program)} ms against ${best(times.bare)} ms`);
});
