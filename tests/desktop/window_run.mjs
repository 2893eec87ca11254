// The Windows program in the place of the console program, for tests that know no windows: what its log box says is its
// output, what its message boxes say goes to the errors, and each box is answered at once.

import { execFileSync, spawn } from 'node:child_process';
import path from 'node:path';

import { keepChild, until } from '../support/tools.mjs';
import { useProgram } from '../support/launcher.mjs';
import { Desktop, PROGRAM_FOLDER, windowsPath, wineProgram, wineserverProgram } from './wine.mjs';

const NO_ANSWER = '<no answer>';

// Looking costs the programs time that they could have for their work. It is done often while somebody waits for what a
// program shows, and now and then otherwise: a message box may want its answer.
const OFTEN = 50;     // milliseconds
const SELDOM = 500;
const LATELY = 2000;  // so long ago somebody waits still

// One desktop for all programs of a test process.
let desktop;
let desktopOptions;
function sharedDesktop() {
  desktop ??= Desktop.start(desktopOptions).then((started) => {
    process.once('exit', () => {
      try { execFileSync(wineserverProgram, ['-k'], { env: started.env, stdio: 'ignore' }); } catch { /* it has ended */ }
    });
    // Waiting for answers of the probe keeps no test process alive.
    started.letGo();
    return started;
  });
  return desktop;
}

// All running programs are looked at in one go, however many there are.
const runs = new Set();
let looking = null;
let lookSooner = () => {};

async function lookAtAll() {
  const own = await sharedDesktop();
  while (runs.size > 0) {
    const start = Date.now();
    const windows = await own.ask('look');
    for (const run of [...runs]) await run.look(windows);
    // Reading a long log box takes its time, which the program is to have most of.
    const took = Date.now() - start;
    const wanted = () => [...runs].some((run) => run.isWaitedFor());
    const end = Date.now() + SELDOM;
    const soon = Date.now() + Math.min(SELDOM, Math.max(OFTEN, 4 * took));
    for (;;) {
      const pause = (wanted() ? soon : end) - Date.now();
      if (pause <= 0) break;
      await new Promise((resolve) => {
        const timer = setTimeout(resolve, pause);
        lookSooner = () => { clearTimeout(timer); resolve(); };
      });
    }
  }
  looking = null;
}

export class WindowRun {
  // What the program keeps in memory of every byte that it logs: the text, and its copy in the log box with its lines.
  memoryForLog = 8;

  constructor(folder, program, environment, shell) {
    this.seen = '';  // of the log box
    this.waitedFor = 0;
    this.errors = '';
    this.ended = null;
    this.program = windowsPath(`${folder}/${program}`).toLowerCase();
    this.start(folder, program, environment, shell);
  }

  async start(folder, program, environment, shell) {
    this.desktop = await sharedDesktop();
    if (this.killed) { this.ended = { code: null, signal: 'SIGKILL' }; return; }
    const command = [wineProgram, `./${program}`];
    if (shell) command.unshift('sh', '-c', `${shell}; exec "$0" "$@"`);
    this.child = keepChild(spawn(command[0], command.slice(1),
      { cwd: folder, env: { ...this.desktop.env, ...environment }, stdio: 'ignore' }));
    const gone = new Promise((resolve) => this.child.once('exit', (code, signal) => resolve({ code, signal })));
    this.answered = new Set();
    runs.add(this);
    looking ??= lookAtAll();
    lookSooner();
    const ended = await gone;
    this.isGone = true;
    // What is being read of its windows is still its output.
    runs.delete(this);
    await this.lastLook;
    this.ended = ended;
  }

  // Nobody knows its port yet, or somebody reads what it shows.
  isWaitedFor() { return !this.hasPort || Date.now() - this.waitedFor < LATELY; }

  // What the log box showed when it was looked at last.
  get output() {
    this.waitedFor = Date.now();
    lookSooner();
    return this.seen;
  }

  // What it shows now, and all that was ever in it.
  async shown() {
    await this.desktop.ask('look').then((windows) => this.look(windows));
    return this.seen;
  }

  look(windows) {
    this.lastLook = this.read(windows);
    return this.lastLook;
  }

  async read(windows) {
    for (const window of windows) {
      if (window.program.toLowerCase() !== this.program) continue;
      if (window.class === 'VornelleForm1') {
        this.main = window;
        // What is long is read when there is more of it.
        if (window.length <= 0 || window.length === this.length) continue;
        // A window that is being destroyed has no text left.
        const text = await this.desktop.ask(`text ${window.box}`);
        if (!text || text === NO_ANSWER) continue;
        this.seen = text;
        this.length = window.length;
        continue;
      }
      if (!window.button || this.answered.has(window.handle)) continue;
      this.answered.add(window.handle);
      this.errors += window.said + '\n';
      await this.desktop.ask(`press ${window.button}`);
    }
  }

  async port() {
    const banner = await until(() => {
      const found = /use the address: http:\/\/[^:\s]+:(\d+)/.exec(this.output);
      if (!found && this.ended) throw new Error(`The program ended: ${JSON.stringify(this.ended)}\n${this.said()}`);
      return found;
    }, () => `the banner (${this.main ? 'the window is there' : 'no window'}, ${this.isGone ? 'gone' : 'running'}): ${this.said()}`, 60000);
    this.hasPort = true;
    return Number(banner[1]);
  }

  said() { return `${this.output}\n${this.errors}`; }

  close() { this.desktop.ask(`close ${this.main.handle}`); }

  // Through Wine: its server does not always survive it when a program with sockets is killed from outside.
  kill() {
    this.killed = true;
    if (this.main) this.desktop.end(this.main.pid);
    else this.child?.kill('SIGKILL');
  }
}

// The tests that are imported after this call start the Windows program. options: those of Desktop.start.
export function useWindowsProgram(options) {
  desktopOptions = options;
  useProgram(path.join(PROGRAM_FOLDER, 'vornelle.exe'),
    (folder, environment, shell) => new WindowRun(folder, 'vornelle.exe', environment, shell));
}
