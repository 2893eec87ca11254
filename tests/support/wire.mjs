// The server's side of one scripted connection: lines in, answers out, and the faults between them.
//
// A fault is an object. It says when it strikes:
//   verb      the command it waits for, in capitals; "GREETING" is the first answer of a connection, and SMTP has
//             "AUTH-USER", "AUTH-PASSWORD" and "BODY" for the answers in between. Left out: any command.
//   nth       which occurrence of that command in a session (1 is the first); left out: every one
//   session   which connection to that server (1 is the first); left out: every one
// and what it does, one of:
//   cut       true: the line is cut instead of an answer; a number: after so many bytes of the answer (a negative
//             number counts from its end); "middle": after half of it
//   stall     the same values, but the server falls silent instead and keeps the line open
//   error     true or a text: the command is refused
//   answer    a string (Latin-1) or Buffer sent instead of the answer, as it is; or a function that makes it from
//             the right one
//   endless   a string or Buffer: the right answer's status line, then this text again and again until the client
//             goes away; with status: false the text alone
//   until     a promise: this answer, and those behind it, are held back until it is fulfilled
//   before    a function that is called before the command is carried out; it gets the session
//
// Besides, cutAtByte cuts the line after so many bytes of everything that the server says in a session, and late holds
// every answer back for so many milliseconds; answers stay in order, and long ones come in two pieces.

const toBuffer = (text) => (Buffer.isBuffer(text) ? text : Buffer.from(text, 'latin1'));

export class Wire {
  // options: faults, cutAtByte, number (of this session), reset (cut with RST instead of FIN)
  constructor(socket, options, onLine) {
    this.socket = socket;
    this.options = options;
    this.onLine = onLine;
    this.faults = options.faults ?? [];
    this.seen = new Map();
    this.sent = 0;
    this.silent = false;
    this.ended = false;
    this.pending = Buffer.alloc(0);
    socket.setNoDelay(true);
    socket.on('error', () => {});
    socket.on('data', (data) => this.#receive(data));
    socket.on('close', () => { this.ended = true; });
  }

  // Lines are handled one after the other, however many arrive in one piece.
  #receive(data) {
    this.pending = this.pending.length ? Buffer.concat([this.pending, data]) : data;
    for (;;) {
      const end = this.pending.indexOf(10);
      if (end < 0 || this.ended) return;
      const line = this.pending.subarray(0, end > 0 && this.pending[end - 1] === 13 ? end - 1 : end);
      this.pending = this.pending.subarray(end + 1);
      this.onLine(line.toString('latin1'));
    }
  }

  // The fault that strikes at this occurrence of the verb, if any.
  faultFor(verb) {
    const count = (this.seen.get(verb) ?? 0) + 1;
    this.seen.set(verb, count);
    return this.faults.find((fault) =>
      (fault.verb === undefined || fault.verb === verb) &&
      (fault.nth === undefined || fault.nth === count) &&
      (fault.session === undefined || fault.session === this.options.number));
  }

  // Sends the answer to a command, bent by the fault.
  answer(text, fault) {
    let data = toBuffer(text);
    if (!fault) return this.write(data);
    if (fault.until) this.last = (this.last ?? Promise.resolve()).then(() => fault.until);
    if (fault.answer !== undefined) {
      data = toBuffer(typeof fault.answer === 'function' ? fault.answer(data) : fault.answer);
    }
    if (fault.endless !== undefined) return this.#endless(data, fault);
    for (const kind of ['cut', 'stall']) {
      const where = fault[kind];
      if (where === undefined || where === false) continue;
      let length = 0;
      if (where === 'middle') length = Math.floor(data.length / 2);
      else if (typeof where === 'number') length = where < 0 ? Math.max(0, data.length + where) : where;
      this.write(data.subarray(0, length));
      if (kind === 'cut') this.cut();
      else this.silent = true;
      return;
    }
    this.write(data);
  }

  write(data) {
    if (this.silent || this.ended) return;
    const limit = this.options.cutAtByte;
    if (limit !== undefined && this.sent + data.length >= limit) {
      this.socket.write(data.subarray(0, limit - this.sent));
      this.sent = limit;
      this.cut();
      return;
    }
    this.sent += data.length;
    if (this.options.late || this.last) return this.#writeLate(data);
    this.socket.write(data);
  }

  #writeLate(data) {
    const half = data.length > 100 ? data.length >> 1 : data.length;
    for (const piece of [data.subarray(0, half), data.subarray(half)]) {
      if (piece.length === 0) continue;
      this.last = (this.last ?? Promise.resolve()).then(() => new Promise((resolve) => setTimeout(resolve, this.options.late ?? 0)))
        .then(() => { if (!this.socket.destroyed) this.socket.write(piece); });
    }
  }

  // Keeps the client busy for as long as it reads; never holds more than one piece in memory.
  #endless(right, fault) {
    const piece = toBuffer(fault.endless);
    const block = Buffer.concat(Array(Math.max(1, Math.floor(65536 / piece.length))).fill(piece));
    if (fault.status !== false) this.write(right.subarray(0, right.indexOf(10) + 1));
    const more = () => {
      while (!this.ended && !this.socket.destroyed) {
        this.sent += block.length;
        if (!this.socket.write(block)) return void this.socket.once('drain', more);
      }
    };
    more();
  }

  // Ends the line at once; what was written before still goes out (unless reset is asked for).
  cut() {
    if (this.ended) return;
    this.ended = true;
    if (this.options.reset) this.socket.resetAndDestroy();
    else this.socket.end(() => this.socket.destroy());
  }

  close() {
    if (this.ended) return;
    this.ended = true;
    if (this.last) this.last.then(() => this.socket.end());
    else this.socket.end();
  }
}
