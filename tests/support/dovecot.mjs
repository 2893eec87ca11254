// A real Dovecot POP3 server of a test's own: its configuration, mail store (Maildir) and sockets lie in a temporary
// folder, it listens on one loopback port, and nothing of the machine's own set-up is touched. It also answers log-on
// questions of a Postfix (see postfix.mjs). Works as root and as an ordinary user.

import { execFileSync, spawn } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';

import { freePort, isRoot, keepChild, listening, removeFolder, temporaryFolder, until } from './tools.mjs';

const PROGRAM = '/usr/sbin/dovecot';

// Dovecot does not serve mail as root: then the mail belongs to "nobody".
export function mailOwner() {
  if (!isRoot()) return { name: os.userInfo().username, uid: process.getuid(), gid: process.getgid() };
  const id = (option) => Number(execFileSync('id', [option, 'nobody'], { encoding: 'utf8' }));
  return { name: 'nobody', uid: id('-u'), gid: id('-g') };
}

export class Dovecot {
  // options: user, password, messages (texts or Buffers put into the mailbox), tls (a certificate of Certificates: it then
  // also listens at tlsPort, encrypted from the start, and knows STLS at the other port)
  static async start(options = {}) {
    const dovecot = new Dovecot();
    dovecot.account = { user: options.user ?? 'joe', password: options.password ?? 'secret' };
    dovecot.folder = temporaryFolder('dovecot');
    dovecot.owner = mailOwner();
    dovecot.port = await freePort();
    dovecot.tls = options.tls;
    dovecot.tlsPort = options.tls ? await freePort() : 0;
    dovecot.mail = path.join(dovecot.folder, 'mail');
    dovecot.authSocket = path.join(dovecot.folder, 'auth-smtp');
    dovecot.serial = 0;
    fs.chmodSync(dovecot.folder, 0o755);
    for (const part of ['', 'new', 'cur', 'tmp']) fs.mkdirSync(path.join(dovecot.mail, part), { mode: 0o700 });
    dovecot.#own(dovecot.mail, ...['new', 'cur', 'tmp'].map((part) => path.join(dovecot.mail, part)));
    for (const message of options.messages ?? []) dovecot.deliver(message);

    if (options.tls) {
      fs.writeFileSync(path.join(dovecot.folder, 'key.pem'), options.tls.key, { mode: 0o600 });
      fs.writeFileSync(path.join(dovecot.folder, 'chain.pem'), options.tls.chain);
    }
    const config = path.join(dovecot.folder, 'dovecot.conf');
    fs.writeFileSync(path.join(dovecot.folder, 'users'),
      `${dovecot.account.user}:{PLAIN}${dovecot.account.password}\n`, { mode: 0o644 });
    fs.writeFileSync(config, dovecot.#config());
    dovecot.child = keepChild(spawn(PROGRAM, ['-F', '-c', config], { stdio: ['ignore', 'ignore', 'inherit'] }), 'SIGTERM');
    dovecot.child.once('exit', (code, signal) => { dovecot.ended = `Dovecot ended (${signal ?? code})\n${dovecot.log()}`; });
    await Promise.race([
      listening(dovecot.port, 'Dovecot'),
      until(() => dovecot.ended, 'Dovecot', 16000).then((text) => { throw new Error(text); }),
    ]);
    return dovecot;
  }

  #config() {
    const { name, uid, gid } = this.owner;
    const root = isRoot();
    const socketOwner = root ? '' : `
default_internal_user = ${name}
default_internal_group = ${execFileSync('id', ['-gn'], { encoding: 'utf8' }).trim()}
default_login_user = ${name}
service anvil {
  chroot =
}
service pop3-login {
  chroot =
}`;
    return `
protocols = pop3
listen = 127.0.0.1
base_dir = ${this.folder}/run
state_dir = ${this.folder}/state
instance_name = ${path.basename(this.folder)}
log_path = ${this.folder}/log
${this.tls ? `ssl = yes
ssl_cert = <${this.folder}/chain.pem
ssl_key = <${this.folder}/key.pem
verbose_ssl = no` : 'ssl = no'}
disable_plaintext_auth = no
auth_mechanisms = plain login
auth_failure_delay = 0
mail_location = maildir:${this.mail}
mail_uid = ${uid}
mail_gid = ${gid}
first_valid_uid = ${uid}
first_valid_gid = ${gid}
mail_fsync = never
pop3_fast_size_lookups = yes
mail_max_userip_connections = 100
${socketOwner}
service pop3-login {
  inet_listener pop3 {
    address = 127.0.0.1
    port = ${this.port}
  }
  inet_listener pop3s {
    address = 127.0.0.1
    port = ${this.tlsPort}
    ssl = yes
  }
}
service auth {
  unix_listener ${this.authSocket} {
    mode = 0666
  }
}
service anvil {
  unix_listener anvil-auth-penalty {
    mode = 0
  }
}
service stats {
  unix_listener stats-writer {
    mode = 0666
  }
}
passdb {
  driver = passwd-file
  args = ${this.folder}/users
}
userdb {
  driver = static
  args = uid=${uid} gid=${gid} home=${this.folder} mail=maildir:${this.mail}
}
`;
  }

  #own(...files) {
    if (isRoot()) for (const file of files) fs.chownSync(file, this.owner.uid, this.owner.gid);
  }

  // Puts a message into the mailbox, bytes as they are; returns its file's name.
  deliver(message) {
    const name = `${1800000000 + this.serial}.V${String(this.serial).padStart(6, '0')}.test`;
    this.serial++;
    const file = path.join(this.mail, 'tmp', name);
    fs.writeFileSync(file, message);
    this.#own(file);
    fs.renameSync(file, path.join(this.mail, 'new', name));
    return name;
  }

  // Lets Dovecot make its index of what has been delivered, which its first session would do otherwise.
  index() {
    execFileSync('doveadm', ['-c', path.join(this.folder, 'dovecot.conf'), 'fetch', '-u', this.account.user, 'uid size.virtual', 'all'],
      { stdio: ['ignore', 'ignore', 'inherit'] });
  }

  // The files of the mailbox, in the order in which they came.
  files() {
    return ['new', 'cur']
      .flatMap((part) => fs.readdirSync(path.join(this.mail, part)).map((name) => path.join(this.mail, part, name)))
      .sort((a, b) => path.basename(a).localeCompare(path.basename(b), 'en'));
  }

  messages() {
    return this.files().map((file) => fs.readFileSync(file));
  }

  log() {
    try { return fs.readFileSync(path.join(this.folder, 'log'), 'utf8'); } catch { return ''; }
  }

  async stop() {
    if (!this.ended) {
      this.child.kill('SIGTERM');
      await until(() => this.ended, 'the end of Dovecot');
    }
    removeFolder(this.folder);
  }
}
