// The program with a real Dovecot mailbox behind it.

import { DelayProxy } from './delay_proxy.mjs';
import { Dovecot } from './dovecot.mjs';
import { Application } from './harness.mjs';

// With `delay` (in ms each way) the line to the server is slow, with `pace` (see DelayProxy) it trickles, so that a run takes
// its time.
export async function withMailbox(messages, { delay, pace, ...options }, work) {
  const dovecot = await Dovecot.start({ messages });
  const proxy = delay && await DelayProxy.start(dovecot.port, delay, { pace });
  let app;
  try {
    app = await Application.start({ ...options,
      settings: { POP_SERVER: `127.0.0.1:${proxy ? proxy.port : dovecot.port}`, ...options.settings } });
    await app.login();
    await work(app, dovecot, proxy);
  } finally {
    await app?.stop();
    await proxy?.stop();
    await dovecot.stop();
  }
}
