// mpop with a configuration of its own: fetches everything into a maildir and deletes it on the server.
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { performance } from 'node:perf_hooks';

import { keepChild, removeFolder, temporaryFolder } from '../tests/support/tools.mjs';

export class Mpop {
  constructor(port, account) {
    this.folder = temporaryFolder('mpop');
    this.maildir = path.join(this.folder, 'mail');
    this.config = path.join(this.folder, 'config');
    fs.writeFileSync(this.config, `account default
host 127.0.0.1
port ${port}
user ${account.user}
password ${account.password}
auth user
tls off
keep off
received_header off
delivery maildir ${this.maildir}
uidls_file ${path.join(this.folder, 'uidls')}
`, { mode: 0o600 });
  }

  // Seconds for all the messages; their number is checked.
  async fetch(count) {
    fs.rmSync(this.maildir, { recursive: true, force: true });
    for (const part of ['', 'new', 'cur', 'tmp']) fs.mkdirSync(path.join(this.maildir, part));
    const start = performance.now();
    // Not spawnSync: the proxy of a slow line may live in this process.
    const child = keepChild(spawn('mpop', ['-C', this.config, '-q'], { stdio: ['ignore', 'ignore', 'inherit'] }));
    const status = await new Promise((resolve) => child.once('close', resolve));
    const seconds = (performance.now() - start) / 1000;
    if (status !== 0) throw new Error(`mpop: status ${status}`);
    const got = fs.readdirSync(path.join(this.maildir, 'new')).length;
    if (got !== count) throw new Error(`mpop has fetched ${got} of ${count} messages`);
    return seconds;
  }

  stop() { removeFolder(this.folder); }
}
