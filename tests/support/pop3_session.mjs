// One POP3 session of the scripted server (RFC 1939, CAPA from RFC 2449).

import { stuffed, topOf } from './maildrop.mjs';
import { Wire } from './wire.mjs';

const KNOWN = ['USER', 'PASS', 'STAT', 'LIST', 'UIDL', 'RETR', 'DELE', 'TOP', 'NOOP', 'RSET', 'QUIT', 'CAPA'];
const BEFORE_LOGON = ['USER', 'PASS', 'QUIT', 'CAPA'];

export class Pop3Session {
  // server: the MailServer; options: user, password, lacks (verbs that the server does not know), pipelining,
  // greeting, and what Wire takes
  constructor(server, socket, options) {
    this.server = server;
    this.options = options;
    this.commands = [];
    this.loggedOn = false;
    this.quit = false;
    this.messages = [];
    this.deleted = new Set();
    this.wire = new Wire(socket, options, (line) => this.#command(line));
    this.#say('GREETING', () => options.greeting ?? '+OK ready\r\n');
  }

  get sent() { return this.wire.sent; }

  #say(verb, carryOut) {
    const fault = this.wire.faultFor(verb);
    fault?.before?.(this);
    if (fault?.error) {
      const text = typeof fault.error === 'string' ? fault.error : 'not today';
      this.wire.answer(text.startsWith('-') ? `${text}\r\n` : `-ERR ${text}\r\n`);
      return;
    }
    // A command whose answer never starts is not carried out either: the line broke on its way.
    if (fault?.cut === true || fault?.cut === 0) return void this.wire.cut();
    if (this.wire.silent) return;
    this.wire.answer(carryOut(), fault);
  }

  #command(line) {
    this.commands.push(line);
    const [word, ...args] = line.split(' ');
    const verb = word.toUpperCase();
    this.#say(verb, () => {
      if (!KNOWN.includes(verb) || (this.options.lacks ?? []).includes(verb)) return '-ERR unknown command\r\n';
      if (!this.loggedOn && !BEFORE_LOGON.includes(verb)) return '-ERR log on first\r\n';
      return this[verb](...args);
    });
    if (this.quit && !this.wire.silent) this.wire.close();
  }

  #numbered(argument, give) {
    const number = Number(argument);
    const message = Number.isInteger(number) ? this.messages[number - 1] : undefined;
    if (!message || this.deleted.has(message)) return '-ERR no such message\r\n';
    return give(message, number);
  }

  // One line for the message asked for, or all lines and the dot.
  #listing(argument, line) {
    if (argument !== undefined) return this.#numbered(argument, (m, n) => `+OK ${line(m, n)}\r\n`);
    const lines = this.messages.map((m, i) => (this.deleted.has(m) ? '' : line(m, i + 1) + '\r\n'));
    return `+OK\r\n${lines.join('')}.\r\n`;
  }

  USER(name) { this.user = name; return '+OK\r\n'; }

  PASS(...words) {
    if (this.user !== this.options.user || words.join(' ') !== this.options.password) {
      this.user = undefined;
      return '-ERR [AUTH] wrong account or password\r\n';
    }
    this.loggedOn = true;
    this.messages = [...this.server.maildrop.messages];
    return '+OK\r\n';
  }

  STAT() {
    const left = this.messages.filter((m) => !this.deleted.has(m));
    return `+OK ${left.length} ${left.reduce((sum, m) => sum + (m.size ?? m.data.length), 0)}\r\n`;
  }

  LIST(argument) { return this.#listing(argument, (m, n) => `${n} ${m.size ?? m.data.length}`); }
  UIDL(argument) { return this.#listing(argument, (m, n) => n + (m.uidLine ?? ' ' + m.uid)); }

  RETR(argument) {
    return this.#numbered(argument, (m) => m.refused ? '-ERR not this one\r\n' :
      Buffer.concat([Buffer.from('+OK\r\n'), stuffed(m.data, m.stuff)]));
  }

  TOP(argument, lines) {
    return this.#numbered(argument, (m) => {
      if (m.refused) return '-ERR not this one\r\n';
      const text = (m.top ?? topOf)(m.data, Number(lines));
      return Buffer.concat([Buffer.from('+OK\r\n'), stuffed(Buffer.from(text), m.stuff)]);
    });
  }

  DELE(argument) {
    return this.#numbered(argument, (m) => { this.deleted.add(m); return '+OK\r\n'; });
  }

  NOOP() { return '+OK\r\n'; }
  RSET() { this.deleted.clear(); return '+OK\r\n'; }

  QUIT() {
    this.quit = true;
    if (this.loggedOn) for (const message of this.deleted) this.server.maildrop.remove(message);
    return '+OK\r\n';
  }

  CAPA() {
    const lines = ['USER', 'TOP', 'UIDL', 'PIPELINING'].filter((capability) =>
      !(this.options.lacks ?? []).includes(capability) &&
      (capability !== 'PIPELINING' || this.options.pipelining !== false));
    return `+OK\r\n${lines.map((l) => l + '\r\n').join('')}.\r\n`;
  }
}
