// The probe (tls_probe.cpp), asked one question at a time; each answer is an object.

import { spawn } from 'node:child_process';
import fs from 'node:fs';
import readline from 'node:readline';

import { keepChild } from './tools.mjs';

export class TlsProbe {
  // command: the program with its arguments.
  constructor(command, env) {
    const program = command.at(-1);
    if (!fs.existsSync(program)) throw new Error(`There is no ${program}: script/build makes it.`);
    this.child = keepChild(spawn(command[0], command.slice(1), { env, stdio: ['pipe', 'pipe', process.env.TLS_PROBE_STDERR ? 'inherit' : 'ignore'] }));
    this.answers = readline.createInterface({ input: this.child.stdout })[Symbol.asyncIterator]();
    this.asking = Promise.resolve();
  }

  ask(question) {
    const answer = this.asking.then(async () => {
      // One character is one byte, as in the program's settings.
      this.child.stdin.write(Buffer.from(question + '\n', 'latin1'));
      const { value, done } = await this.answers.next();
      if (done) throw new Error(`The probe has ended at: ${question}`);
      return JSON.parse(value);
    });
    this.asking = answer.catch(() => {});
    return answer;
  }

  open(port, { host = 'mail.vornelle.test', timeout = 10000, versions = 'usual', accepted = '-' } = {}) {
    return this.ask(`open ${port} ${timeout} ${versions} ${accepted} ${host}`);
  }

  close() { return this.ask('close'); }

  end() { this.child.stdin.end(); }
}
