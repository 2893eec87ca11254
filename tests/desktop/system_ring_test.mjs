// The Windows program filters, shows, restores and serves like the console program: the same tests, under Wine. Left
// out are those that look at standard output or wait by the real clock.

import { spawn } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { after } from 'node:test';

import { exchange } from '../support/bare_http.mjs';
import { useProgram } from '../support/launcher.mjs';
import { keepChild, listening, until } from '../support/tools.mjs';
import { Desktop, PROGRAM_FOLDER, WINE } from './wine.mjs';

const desktop = await Desktop.start();
after(() => desktop.stop());

// The log box is on the screen and not on standard output; the port is the one that the settings ask for.
class WineRun {
  constructor(folder) {
    this.folder = folder;
    this.output = '';
    this.errors = '';
    this.ended = null;
    this.child = keepChild(spawn(WINE, ['./vornelle.exe'], { cwd: folder, env: desktop.env, stdio: 'ignore' }));
    this.child.once('exit', (code, signal) => { this.ended = { code, signal }; });
  }

  async port() {
    this.asked = Number(/^HTTP_PORT_CFG=(\d+)/m.exec(fs.readFileSync(path.join(this.folder, 'Vornelle.ini'), 'latin1'))[1]);
    await Promise.race([
      listening(this.asked, 'the program', 60000),
      until(() => this.ended, 'the program', 61000).then(() => { throw new Error(`It ended: ${JSON.stringify(this.ended)} ${this.folder} ${fs.readFileSync(path.join(this.folder, 'Vornelle.log'), 'latin1')}`); }),
    ]);
    return this.asked;
  }

  said() { return ''; }
  close() { throw new Error('not from here'); }

  // Politely where that works: a Wine of which one process was killed is not the same any more.
  kill() {
    exchange(this.asked, 'GET /UNLOADME HTTP/1.0\r\n\r\n').catch(() => {});
    setTimeout(() => this.child.kill('SIGKILL'), 5000).unref();
  }
}

useProgram(path.join(PROGRAM_FOLDER, 'vornelle.exe'), (folder) => new WineRun(folder));
await import('../system/odd_server_test.mjs');
await import('../system/restore_test.mjs');
