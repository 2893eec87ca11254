// The Windows program in the place of the console program, for tests that know no windows: what its log box says is its
// output, what its message boxes say goes to the errors, and each box is answered at once.

import { execFileSync, spawn } from 'node:child_process';

import { keepChild, until } from '../support/tools.mjs';
import { Desktop, windowsPath, wineProgram, wineserverProgram } from './wine.mjs';

// One desktop for all programs of a test process.
let desktop;
function sharedDesktop() {
  desktop ??= Desktop.start().then((started) => {
    process.once('exit', () => {
      try { execFileSync(wineserverProgram, ['-k'], { env: started.env, stdio: 'ignore' }); } catch { /* it has ended */ }
    });
    // Waiting for answers of the probe keeps no test process alive.
    started.letGo();
    return started;
  });
  return desktop;
}

export class WindowRun {
  constructor(folder, program, environment) {
    this.output = '';
    this.errors = '';
    this.ended = null;
    this.program = windowsPath(`${folder}/${program}`).toLowerCase();
    this.start(folder, program, environment);
  }

  async start(folder, program, environment) {
    this.desktop = await sharedDesktop();
    if (this.killed) { this.ended = { code: null, signal: 'SIGKILL' }; return; }
    this.child = keepChild(spawn(wineProgram, [`./${program}`],
      { cwd: folder, env: { ...this.desktop.env, ...environment }, stdio: 'ignore' }));
    const gone = new Promise((resolve) => this.child.once('exit', (code, signal) => resolve({ code, signal })));
    gone.then(() => { this.isGone = true; });
    while (!this.isGone) {
      await this.look();
      await new Promise((resolve) => setTimeout(resolve, 50));
    }
    this.ended = await gone;
  }

  async look() {
    const answered = new Set();
    for (const window of await this.desktop.windows()) {
      if (window.program.toLowerCase() !== this.program) continue;
      if (window.class === 'VornelleForm1') {
        this.main = window;
        const box = window.children.find((child) => child.id === 107);
        if (box) this.output = await this.desktop.ask(`text ${box.handle}`);
      }
      const button = window.class === '#32770' && window.children.find((child) => child.class === 'Button');
      if (!button || answered.has(window.handle)) continue;
      answered.add(window.handle);
      this.errors += window.children.filter((child) => child.class === 'Static').map((child) => child.text).join('') + '\n';
      await this.desktop.ask(`press ${button.handle}`);
    }
  }

  async port() {
    const banner = await until(() => {
      const found = /use the address: http:\/\/[^:\s]+:(\d+)/.exec(this.output);
      if (!found && this.ended) throw new Error(`The program ended: ${JSON.stringify(this.ended)}\n${this.said()}`);
      return found;
    }, 'the banner', 40000);
    return Number(banner[1]);
  }

  said() { return `${this.output}\n${this.errors}`; }

  close() { this.desktop.ask(`close ${this.main.handle}`); }

  // Through Wine: its server does not always survive it when a program with sockets is killed from outside.
  kill() {
    this.killed = true;
    if (this.main) this.desktop.ask(`end ${this.main.pid}`);
    else this.child?.kill('SIGKILL');
  }
}
