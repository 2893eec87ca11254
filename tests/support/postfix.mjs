// A real Postfix of a test's own: configuration, queue and log lie in a temporary folder, it takes mail on one loopback
// port from users who log on (AUTH LOGIN, asked of a Dovecot) and delivers all of it into that Dovecot's mailbox. The
// machine's own Postfix is not touched. Postfix must start as root: an ordinary user needs a sudo that asks nothing.

import { execFileSync, spawn } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';

import { converse, freePort, isRoot, keepChild, removeFolder, temporaryFolder, until } from './tools.mjs';

const DAEMONS = '/usr/lib/postfix/sbin';

// What "postfix check" would make, in a fraction of its time.
const MAKE_QUEUE = `
cd "$1"
chown root queue etc etc/*
chown postfix data
cd queue
mkdir -m 700 active bounce corrupt defer deferred flush hold incoming private saved trace
mkdir -m 730 maildrop
mkdir -m 710 public
mkdir -m 755 pid
chown postfix active bounce corrupt defer deferred flush hold incoming private saved trace maildrop public
chgrp postdrop maildrop public`;

function asRoot(command) {
  return isRoot() ? command : ['sudo', '-n', ...command];
}

export class Postfix {
  // dovecot: where users are known and mail goes; options: domain (what it receives mail for), tls (a certificate of
  // Certificates: it then also listens at tlsPort, encrypted from the start, and lets nobody log on at the other port before
  // STARTTLS)
  static async start(dovecot, options = {}) {
    const postfix = new Postfix();
    postfix.dovecot = dovecot;
    postfix.domain = options.domain ?? 'home.example';
    postfix.folder = temporaryFolder('postfix');
    postfix.port = await freePort();
    postfix.tls = options.tls;
    postfix.tlsPort = options.tls ? await freePort() : 0;
    fs.chmodSync(postfix.folder, 0o755);
    for (const part of ['etc', 'queue', 'data']) fs.mkdirSync(path.join(postfix.folder, part), { mode: 0o755 });
    if (options.tls) {
      fs.writeFileSync(path.join(postfix.folder, 'etc', 'tls.pem'), options.tls.key + options.tls.chain, { mode: 0o600 });
    }
    fs.writeFileSync(path.join(postfix.folder, 'etc', 'main.cf'), postfix.#main());
    fs.writeFileSync(path.join(postfix.folder, 'etc', 'master.cf'), postfix.#master());
    execFileSync(...postfix.#call('sh', '-ec', MAKE_QUEUE, 'sh', postfix.folder));
    const [program, ...args] = asRoot([path.join(DAEMONS, 'master'), '-c', path.join(postfix.folder, 'etc'), '-d']);
    postfix.child = keepChild(spawn(program, args, { stdio: ['ignore', 'ignore', 'inherit'] }), 'SIGTERM');
    postfix.child.once('exit', (code, signal) => { postfix.ended = `Postfix ended (${signal ?? code})\n${postfix.log()}`; });
    await Promise.race([
      // A part of it that does not reach Dovecot's log-on in time ends, and its port is still listened on.
      until(async () => /^250[ -](AUTH|STARTTLS)/m.test(await converse(postfix.port, ['EHLO test', 'QUIT']).catch(() => '')), 'Postfix', 60000),
      until(() => postfix.ended, 'Postfix', 16000).then((text) => { throw new Error(text); }),
    ]);
    return postfix;
  }

  #call(...command) {
    const [program, ...args] = asRoot(command);
    return [program, args, { stdio: ['ignore', 'ignore', 'inherit'] }];
  }

  #main() {
    const { uid, gid } = this.dovecot.owner;
    return `
compatibility_level = 3.6
queue_directory = ${this.folder}/queue
data_directory = ${this.folder}/data
daemon_directory = ${DAEMONS}
maillog_file = ${this.folder}/log
maillog_file_prefixes = ${this.folder}
inet_interfaces = 127.0.0.1
inet_protocols = ipv4
myhostname = mail.${this.domain}
mynetworks =
mydestination =
alias_maps =
local_recipient_maps =
smtpd_sasl_auth_enable = yes
smtpd_sasl_type = dovecot
smtpd_sasl_path = ${this.dovecot.authSocket}
smtpd_sasl_security_options = noanonymous
smtpd_relay_restrictions = permit_sasl_authenticated, reject
smtpd_recipient_restrictions = permit_sasl_authenticated, reject
${this.tls ? `smtpd_tls_security_level = may
smtpd_tls_auth_only = yes
smtpd_tls_received_header = yes
smtpd_tls_chain_files = ${this.folder}/etc/tls.pem` : 'smtpd_tls_security_level = none'}
virtual_mailbox_domains = ${this.domain}
virtual_mailbox_base = ${path.dirname(this.dovecot.mail)}
virtual_mailbox_maps = static:${path.basename(this.dovecot.mail)}/
virtual_uid_maps = static:${uid}
virtual_gid_maps = static:${gid}
virtual_minimum_uid = 1
virtual_mailbox_limit = 0
message_size_limit = 0
smtpd_error_sleep_time = 0
smtpd_client_connection_rate_limit = 0
in_flow_delay = 0
always_add_missing_headers = no
local_header_rewrite_clients =
`;
  }

  #master() {
    return `
127.0.0.1:${this.port} inet n - n - - smtpd
${this.tls ? `127.0.0.1:${this.tlsPort} inet n - n - - smtpd -o smtpd_tls_wrappermode=yes` : ''}
pickup    unix  n - n 60   1 pickup
cleanup   unix  n - n -    0 cleanup
qmgr      unix  n - n 300  1 qmgr
tlsmgr    unix  - - n 1000? 1 tlsmgr
rewrite   unix  - - n -    - trivial-rewrite
bounce    unix  - - n -    0 bounce
defer     unix  - - n -    0 bounce
trace     unix  - - n -    0 bounce
verify    unix  - - n -    1 verify
flush     unix  n - n 1000? 0 flush
proxymap  unix  - - n -    - proxymap
proxywrite unix - - n -    1 proxymap
smtp      unix  - - n -    - smtp
relay     unix  - - n -    - smtp
showq     unix  n - n -    - showq
error     unix  - - n -    - error
retry     unix  - - n -    - error
discard   unix  - - n -    - discard
local     unix  - n n -    - local
virtual   unix  - n n -    - virtual
lmtp      unix  - - n -    - lmtp
anvil     unix  - - n -    1 anvil
scache    unix  - - n -    1 scache
postlog   unix-dgram n - n - 1 postlogd
`;
  }

  log() {
    const file = path.join(this.folder, 'log');
    try {
      return isRoot() ? fs.readFileSync(file, 'utf8') : execFileSync('sudo', ['-n', 'cat', file], { encoding: 'utf8' });
    } catch {
      return '';
    }
  }

  async stop() {
    if (!this.ended) {
      this.child.kill('SIGTERM');
      await until(() => this.ended, 'the end of Postfix');
    }
    if (!isRoot()) execFileSync(...this.#call('rm', '-rf', this.folder));
    removeFolder(this.folder);
  }
}
