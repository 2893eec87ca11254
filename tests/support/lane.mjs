// Programs with a scripted mail server each, which tests use one after the other: starting a program takes longer than most
// of what is asked of it. A test finds an empty SpamBox, an empty log and the server with its own mailbox and faults. Lists and
// settings are as the tests before it have left them: one that changes them for others puts them back, or asks for lists of
// its own. One in which a test failed serves no other.
//
//   await onLane({ messages, pop: { faults: [{ verb: 'RETR', cut: 'middle' }] } }, async ({ app, server }) => {
//     await app.login();
//     ...
//   });

import fs from 'node:fs';
import { after } from 'node:test';

import { Application } from './harness.mjs';
import { MailServer } from './mailserver.mjs';
import { lineTo } from './tls_server.mjs';

class Lane {
  static async start({ settings, lists, environment, shell, tls, line, sends }) {
    const lane = new Lane();
    try {
      lane.server = await MailServer.start({ tls });
      lane.between = line && await lineTo(lane.server.popPort);
      lane.server.between = lane.between;
      const address = (port) => `${tls ? 'tls://' : ''}127.0.0.1:${port}`;
      lane.app = await Application.start({ lists, environment, shell, settings: {
        POP_SERVER: address(lane.between?.port ?? lane.server.popPort),
        ...(sends && { SMTP_SERVER: address(lane.server.smtpPort) }), ...settings } });
      return lane;
    } catch (error) {
      await lane.stop();
      throw error;
    }
  }

  renew({ messages, pop, smtp, line }) {
    this.server.renew({ messages, pop, smtp });
    this.between?.renew(line);
    const folder = Buffer.from(this.app.path('spam/'));
    for (const name of fs.readdirSync(folder, { encoding: 'buffer' })) fs.rmSync(Buffer.concat([folder, name]));
    fs.rmSync(this.app.path('message.txt'), { force: true });
    if (this.app.exists('Vornelle.log')) fs.truncateSync(this.app.path('Vornelle.log'));
  }

  async stop() {
    await this.app?.stop();
    this.between?.close();
    await this.server?.stop();
  }
}

// Those that nobody uses now, by what they were started with.
const idle = new Map();

after(async () => {
  for (const lanes of idle.values()) for (const lane of lanes) await lane.stop();
});

// options: messages, pop, smtp (options of the scripted server's sessions), settings, lists, environment and shell of the
// program (as Application.start takes them; one that is started through a shell serves one test), tls (a certificate of
// Certificates: the server is encrypted), sends (the program sends through the server too), line (options of lineTo for the
// POP3 side)
// work: called with { app, server, between }; between is what lineTo returned, and server.between too, for faults
export async function onLane(options, work) {
  const { settings, lists, environment, shell, tls, line, sends } = options;
  const kind = JSON.stringify([settings, lists, environment, shell, tls?.base, Boolean(line), sends]);
  if (!idle.has(kind)) idle.set(kind, []);
  const lane = idle.get(kind).pop() ?? await Lane.start(options);
  try {
    lane.renew(options);
    await work(lane);
  } catch (error) {
    await lane.stop();
    throw error;
  }
  if (shell) await lane.stop();
  else idle.get(kind).push(lane);
}
