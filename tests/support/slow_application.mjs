// A program, a mailbox on a scripted server and a slow line between them, so that something is always under way: a fetch
// takes a second or two.

import { DelayProxy } from './delay_proxy.mjs';
import { Application } from './harness.mjs';
import { MailServer } from './mailserver.mjs';
import { friendly, spam } from './mails.mjs';

const DELAY = 100;  // milliseconds each way

export class SlowApplication {
  static async start() {
    const slow = new SlowApplication();
    slow.server = await MailServer.start();
    slow.line = await DelayProxy.start(slow.server.popPort, DELAY);
    slow.app = await Application.start({ settings: {
      POP_SERVER: `127.0.0.1:${slow.line.port}`, SMTP_SERVER: `127.0.0.1:${slow.server.smtpPort}`,
      SMTP_USER: 'joe', SMTP_PASSWORD: 'secret', NEW_WINDOW: 'FALSE',
    } });
    return slow;
  }

  async stop() {
    await this.app?.stop();
    await this.line?.stop();
    await this.server?.stop();
  }

  // A mailbox with two friends' messages, an empty SpamBox and lists as they were.
  reset() {
    this.server.maildrop.messages = [];
    this.server.maildrop.add({ uid: 'f1', data: friendly('kept-1') });
    this.server.maildrop.add({ uid: 'f2', data: friendly('kept-2') });
    for (const name of Object.keys(this.app.spamBox())) this.app.remove(`spam/${name}`);
    this.app.write('data/friendlist.txt', '@friend.example\r\n');
    this.app.write('data/enemylist.txt', 'old@enemy.example\r\n');
  }

  addSpam(...names) {
    for (const name of names) this.server.maildrop.add({ uid: name, data: spam(name) });
  }

  saveSpam(...names) {
    for (const name of names) this.app.write(`spam/${name}.txt`, spam(name).toString('latin1'));
  }

  // How many requests for an action were served from this point of the log on.
  served(from, action) {
    return this.app.events().slice(from).filter((event) =>
      event.toLowerCase().startsWith(action) && event.endsWith('request complete!')).length;
  }
}
