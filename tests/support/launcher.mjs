// How the program under test is started, and how a test learns that it is ready. The one place that knows which
// program that is: VORNELLE_PROGRAM names it, without it dist/linux/vornelle. A test that runs another kind of program
// (the Windows one) says so with useProgram.

import { spawn } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

import { keepChild, until } from './tools.mjs';

export const repository = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '..', '..');

let other = null;

// program: its path; start(folder, environment, shell): starts it in that folder and gives an object like ConsoleRun.
export function useProgram(program, start) {
  other = { program, start };
}

export function programPath() {
  const program = path.resolve(other?.program ?? process.env.VORNELLE_PROGRAM ?? path.join(repository, 'dist', 'linux', 'vornelle'));
  if (!fs.existsSync(program)) throw new Error(`There is no program ${program}: script/build makes it.`);
  return program;
}

// Puts the program and its data folder into an application folder.
export function install(folder) {
  const program = programPath();
  fs.copyFileSync(program, path.join(folder, path.basename(program)), fs.constants.COPYFILE_FICLONE);
  // The build has put the templates beside it, with their scripts.
  fs.cpSync(path.join(path.dirname(program), 'data'), path.join(folder, 'data'), { recursive: true });
}

// The console program: the log box's text comes on standard output, message boxes on standard error.
class ConsoleRun {
  // shell: commands of the shell that starts it ("ulimit -f 100"), if any.
  constructor(folder, environment, shell) {
    this.output = '';
    this.errors = '';
    this.ended = null;  // { code, signal } when it has
    const program = path.join(folder, path.basename(programPath()));
    this.child = keepChild(spawn(...(shell ? ['sh', ['-c', `${shell}; exec "$0"`, program]] : [program, []]), {
      cwd: folder,
      // The login page asks for an announcement. Tests stay on this machine: a proxy that refuses answers at once.
      env: { ...process.env, http_proxy: 'http://127.0.0.1:1/', ...environment },
      stdio: ['ignore', 'pipe', 'pipe'],
    }));
    this.child.stdout.on('data', (data) => { this.output += data.toString('latin1'); });
    this.child.stderr.on('data', (data) => { this.errors += data.toString('latin1'); });
    this.child.once('close', (code, signal) => { this.ended = { code, signal }; });
  }

  // The port that the banner tells.
  async port() {
    const banner = await until(() => {
      const found = /use the address: http:\/\/[^:\s]+:(\d+)/.exec(this.output);
      if (!found && this.ended) throw new Error(`The program ended: ${JSON.stringify(this.ended)}\n${this.said()}`);
      return found;
    }, 'the banner', 20000);
    return Number(banner[1]);
  }

  said() { return `${this.output}\n${this.errors}`; }

  // What it shows now, and all that was ever in it.
  async shown() { return this.output; }

  // The window's close button.
  close() { this.child.kill('SIGTERM'); }
  kill() { this.child.kill('SIGKILL'); }
}

export function launch(folder, environment = {}, shell = '') {
  return other ? other.start(folder, environment, shell) : new ConsoleRun(folder, environment, shell);
}
