// One SMTP session of the scripted server (RFC 5321, AUTH LOGIN). What it accepts goes into the server's maildrop.

import { Wire } from './wire.mjs';

const decode64 = (text) => Buffer.from(text, 'base64').toString('latin1');

export class SmtpSession {
  // server: the MailServer; options: user, password (none: mail is taken without a log-on, AUTH is not offered),
  // lacks (verbs that the server does not know), greeting, and what Wire takes
  constructor(server, socket, options) {
    this.server = server;
    this.options = options;
    this.commands = [];
    this.expects = null;  // what the next line is when it is not a command
    this.authenticated = false;
    this.envelope = {};
    this.quit = false;
    this.wire = new Wire(socket, options, (line) => this.#line(line));
    this.#say('GREETING', () => options.greeting ?? '220 mail.example ESMTP\r\n');
  }

  #say(verb, carryOut) {
    const fault = this.wire.faultFor(verb);
    fault?.before?.(this);
    if (fault?.error) {
      const text = typeof fault.error === 'string' ? fault.error : '554 not today';
      this.expects = null;
      return void this.wire.answer(`${text}\r\n`);
    }
    if (fault?.cut === true || fault?.cut === 0) return void this.wire.cut();
    if (this.wire.silent) return;
    this.wire.answer(carryOut(), fault);
  }

  #line(line) {
    if (this.expects === 'BODY') return this.#body(line);
    this.commands.push(line);
    if (this.expects) {
      const step = this.expects;
      this.expects = null;
      return this.#say(step, () => (step === 'AUTH-USER' ? this.#authUser(line) : this.#authPassword(line)));
    }
    const verb = line.split(/[ :]/)[0].toUpperCase();
    this.#say(verb, () => {
      if ((this.options.lacks ?? []).includes(verb)) return '502 5.5.1 not implemented\r\n';
      switch (verb) {
        case 'HELO': return '250 mail.example\r\n';
        case 'EHLO': return this.options.user === undefined || (this.options.lacks ?? []).includes('AUTH')
          ? '250-mail.example\r\n250 8BITMIME\r\n' : '250-mail.example\r\n250-8BITMIME\r\n250 AUTH LOGIN PLAIN\r\n';
        case 'AUTH': return this.#auth(line);
        case 'MAIL': return this.#mail(line);
        case 'RCPT': return this.#rcpt(line);
        case 'DATA': return this.#data();
        case 'NOOP': return '250 2.0.0 fine\r\n';
        case 'RSET': this.envelope = {}; return '250 2.0.0 forgotten\r\n';
        case 'QUIT': this.quit = true; return '221 2.0.0 bye\r\n';
        default: return '500 5.5.2 unknown command\r\n';
      }
    });
    if (this.quit && !this.wire.silent) this.wire.close();
  }

  #auth(line) {
    if (this.options.user === undefined) return '503 5.5.1 no log-on here\r\n';
    const [, method, initial] = line.split(' ');
    if (method?.toUpperCase() !== 'LOGIN') return '504 5.5.4 LOGIN only\r\n';
    if (initial !== undefined) return this.#authUser(initial);
    this.expects = 'AUTH-USER';
    return '334 VXNlcm5hbWU6\r\n';
  }

  #authUser(line) {
    this.user = decode64(line);
    this.expects = 'AUTH-PASSWORD';
    return '334 UGFzc3dvcmQ6\r\n';
  }

  #authPassword(line) {
    this.authenticated = this.user === this.options.user && decode64(line) === this.options.password;
    return this.authenticated ? '235 2.7.0 welcome\r\n' : '535 5.7.8 wrong user or password\r\n';
  }

  #mail(line) {
    if (this.options.user !== undefined && !this.authenticated) return '530 5.7.0 log on first\r\n';
    const path = /^MAIL FROM:\s*<([^<>]*)>/i.exec(line);
    if (!path) return '501 5.5.4 what sender?\r\n';
    this.envelope = { from: path[1], to: [] };
    return '250 2.1.0 fine\r\n';
  }

  #rcpt(line) {
    const path = /^RCPT TO:\s*<([^<>]+)>/i.exec(line);
    if (!this.envelope.to) return '503 5.5.1 sender first\r\n';
    if (!path) return '501 5.5.4 what recipient?\r\n';
    this.envelope.to.push(path[1]);
    return '250 2.1.5 fine\r\n';
  }

  #data() {
    if (!this.envelope.to?.length) return '503 5.5.1 recipient first\r\n';
    this.expects = 'BODY';
    this.lines = [];
    return '354 go on\r\n';
  }

  #body(line) {
    if (line !== '.') return void this.lines.push(line.startsWith('.') ? line.slice(1) : line);
    this.expects = null;
    this.#say('BODY', () => {
      const data = Buffer.from(this.lines.map((l) => l + '\r\n').join(''), 'latin1');
      const message = this.server.maildrop.add(data);
      this.server.delivered.push({ ...this.envelope, data, uid: message.uid });
      this.envelope = {};
      return '250 2.0.0 taken\r\n';
    });
  }
}
