// A POP3 and an SMTP server over one maildrop, for the demo and for tests. As a library it also plays every trick that
// a bad server or a bad line can play (see wire.mjs for faults and maildrop.mjs for odd messages):
//
//   const server = await MailServer.start({ messages: ['Subject: hi\r\n\r\nhello\r\n'],
//                                           pop: { faults: [{ verb: 'RETR', nth: 2, cut: 'middle' }] } });
//   ... server.popPort, server.smtpPort, server.pop.commands(), server.maildrop.uids() ...
//   await server.stop();
//
// As a program it serves a folder of .eml files until it is ended; port 0 lets the system choose:
//
//   node tests/support/mailserver.mjs --pop 0 --smtp 0 --maildrop DIR [--user NAME] [--password TEXT]

import net from 'node:net';
import tls from 'node:tls';
import { pathToFileURL } from 'node:url';
import { parseArgs } from 'node:util';

import { Maildrop } from './maildrop.mjs';
import { Pop3Session } from './pop3_session.mjs';
import { SmtpSession } from './smtp_session.mjs';

// One listening socket and the sessions that came to it, in order; they stay here after they ended.
class Service {
  constructor(mailServer, Session, options) {
    this.sessions = [];
    this.sockets = new Set();
    this.options = options;
    const { tls: certificate } = options;
    const serve = (handler) => (certificate ? tls.createServer({ key: certificate.key, cert: certificate.chain }, handler)
      : net.createServer(handler));
    this.listener = serve((socket) => {
      this.sockets.add(socket);
      socket.on('close', () => this.sockets.delete(socket));
      const number = this.sessions.length + 1;
      this.sessions.push(new Session(mailServer, socket, { ...this.options, number }));
    });
  }

  async listen(port) {
    await new Promise((resolve, reject) => {
      this.listener.once('error', reject);
      this.listener.listen(port, '127.0.0.1', resolve);
    });
    this.port = this.listener.address().port;
  }

  // As after a start with these options.
  renew(options) {
    for (const socket of this.sockets) socket.destroy();
    this.sessions = [];
    this.options = options;
  }

  async stop() {
    for (const socket of this.sockets) socket.destroy();
    await new Promise((resolve) => this.listener.close(resolve));
  }

  // Every command line of every session, in the order of sessions.
  commands() { return this.sessions.flatMap((session) => session.commands); }

  // How many of the commands begin with this verb.
  count(verb) { return this.commands().filter((line) => line.toUpperCase().split(/[ :]/)[0] === verb).length; }
}

export class MailServer {
  // options: messages (or folder), user, password; pop and smtp: options of the sessions, port among them; tls: a
  // certificate (of Certificates), and both are encrypted from the start.
  constructor(options = {}) {
    const account = { user: options.user ?? 'joe', password: options.password ?? 'secret' };
    this.account = account;
    this.maildrop = options.folder ? Maildrop.fromFolder(options.folder) : new Maildrop(options.messages);
    this.delivered = [];
    this.pop = new Service(this, Pop3Session, { ...account, tls: options.tls, ...options.pop });
    this.smtp = new Service(this, SmtpSession, { ...account, tls: options.tls, ...options.smtp });
  }

  static async start(options) {
    const server = new MailServer(options);
    await server.pop.listen(options?.pop?.port ?? 0);
    await server.smtp.listen(options?.smtp?.port ?? 0);
    return server;
  }

  // As after a start with these messages and options of the sessions, at the same ports.
  renew({ messages, pop, smtp } = {}) {
    this.maildrop = new Maildrop(messages);
    this.delivered = [];
    this.pop.renew({ ...this.account, ...pop });
    this.smtp.renew({ ...this.account, ...smtp });
  }

  get popPort() { return this.pop.port; }
  get smtpPort() { return this.smtp.port; }

  async stop() {
    await Promise.all([this.pop.stop(), this.smtp.stop()]);
  }
}

async function main() {
  const { values } = parseArgs({
    options: {
      pop: { type: 'string', default: '0' },
      smtp: { type: 'string', default: '0' },
      maildrop: { type: 'string' },
      user: { type: 'string', default: 'joe' },
      password: { type: 'string', default: 'secret' },
    },
  });
  if (!values.maildrop) {
    console.error('mailserver: --maildrop DIR is missing');
    process.exit(2);
  }
  const server = await MailServer.start({
    folder: values.maildrop,
    user: values.user,
    password: values.password,
    pop: { port: Number(values.pop) },
    smtp: { port: Number(values.smtp) },
  });
  console.log(`pop ${server.popPort}`);
  console.log(`smtp ${server.smtpPort}`);
  for (const signal of ['SIGINT', 'SIGTERM']) process.on(signal, () => process.exit(0));
}

if (process.argv[1] && import.meta.url === pathToFileURL(process.argv[1]).href) await main();
