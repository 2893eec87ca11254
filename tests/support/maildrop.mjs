// The messages that the scripted server holds: in memory, or in a folder of .eml files that it keeps in step.
//
// A message is { uid, data } with these optional oddities, for servers that are not what they should be:
//   size        what LIST says instead of the truth
//   uidLine     what stands behind the number in UIDL's answer instead of " " + uid
//   stuff       false: lines that begin with a dot are sent as they are (only a lone dot is still doubled);
//               "never": not even that
//   refused     true: neither TOP nor RETR gives it away
//   top         a function (data, lines) that makes TOP's text instead of the right one

import fs from 'node:fs';
import path from 'node:path';

let serial = 0;

export class Maildrop {
  constructor(messages = []) {
    this.messages = [];
    this.folder = null;
    for (const message of messages) this.add(message);
  }

  // Every .eml file of the folder, by name; the name without its ending is the unique-id.
  static fromFolder(folder) {
    const maildrop = new Maildrop();
    for (const name of fs.readdirSync(folder).filter((n) => n.endsWith('.eml')).sort()) {
      maildrop.add({ uid: name.slice(0, -4), data: fs.readFileSync(path.join(folder, name)) });
    }
    maildrop.folder = folder;
    return maildrop;
  }

  // Takes a message object, or a text or Buffer that gets a unique-id of its own.
  add(message) {
    const whole = typeof message === 'string' || Buffer.isBuffer(message) ? { data: message } : { ...message };
    whole.data = Buffer.isBuffer(whole.data) ? whole.data : Buffer.from(whole.data, 'latin1');
    whole.uid ??= `d${Date.now().toString(36)}-${(++serial).toString(36)}`;
    this.messages.push(whole);
    if (this.folder) fs.writeFileSync(path.join(this.folder, whole.uid + '.eml'), whole.data);
    return whole;
  }

  remove(message) {
    const at = this.messages.indexOf(message);
    if (at < 0) return;
    this.messages.splice(at, 1);
    if (this.folder) fs.rmSync(path.join(this.folder, message.uid + '.eml'), { force: true });
  }

  uids() {
    return this.messages.map((message) => message.uid);
  }
}

// Header and the first lines of the body, as TOP gives them.
export function topOf(data, lines) {
  let end = data.indexOf('\r\n\r\n');
  if (end < 0) return data;
  end += 4;
  for (; lines > 0 && end < data.length; lines--) {
    const next = data.indexOf('\r\n', end);
    end = next < 0 ? data.length : next + 2;
  }
  return data.subarray(0, end);
}

// The text as it goes over the line: leading dots doubled, closed by a line with a dot alone.
export function stuffed(data, stuff = true) {
  let text = data.toString('latin1');
  if (stuff === true) text = text.replace(/(^|\r\n)\./g, '$1..');
  else if (stuff !== 'never') text = text.replace(/(^|\r\n)\.(?=\r\n|$)/g, '$1..');
  if (!text.endsWith('\r\n')) text += '\r\n';
  return Buffer.from(text + '.\r\n', 'latin1');
}
