// What script/run shows: the demo mailbox on loopback, the program filtering it once, and its web interface until
// Ctrl-C. With --once it ends after the run; the status tells whether there was one.
//
//   node tests/support/demo.mjs [--once] [--tls] [--port N] [FOLDER]
//
// --tls: the mailbox is encrypted, with a certificate made for the occasion that only this program trusts.
// FOLDER (default build/demo) is made afresh: maildrop/ and application/ below it.

import fs from 'node:fs';
import path from 'node:path';
import { parseArgs } from 'node:util';

import { get, post } from './bare_http.mjs';
import { Certificates } from './certificates.mjs';
import { demoFolder, makeDemoMaildrop } from './demo_maildrop.mjs';
import { install, launch, repository } from './launcher.mjs';
import { MailServer } from './mailserver.mjs';
import { until } from './tools.mjs';

const { values, positionals } = parseArgs({
  options: {
    once: { type: 'boolean', default: false },
    tls: { type: 'boolean', default: false },
    port: { type: 'string', default: '7000' },
  },
  allowPositionals: true,
});
const folder = path.resolve(positionals[0] ?? path.join(repository, 'build', 'demo'));
const application = path.join(folder, 'application');
const maildrop = path.join(folder, 'maildrop');
const account = { user: 'wilma', password: 'marmalade' };

let leave;
const left = new Promise((resolve) => { leave = resolve; });
for (const signal of ['SIGINT', 'SIGTERM']) {
  process.removeAllListeners(signal);
  process.on(signal, leave);
}

makeDemoMaildrop(maildrop);
const certificates = values.tls ? new Certificates() : null;
const certificate = certificates?.make({ names: ['DNS:localhost', 'IP:127.0.0.1'] });
const server = await MailServer.start({ folder: maildrop, tls: certificate, ...account });
const scheme = values.tls ? 'tls://' : '';

fs.rmSync(application, { recursive: true, force: true });
fs.mkdirSync(application, { recursive: true });
install(application);
for (const list of ['friendlist', 'subjectlist', 'enemylist']) {
  fs.copyFileSync(path.join(demoFolder, `${list}.txt`), path.join(application, 'data', `${list}.txt`));
}
fs.writeFileSync(path.join(application, 'Vornelle.ini'), [
  'EMAIL_ADDRESS=wilma@home.example',
  `SMTP_SERVER=${scheme}127.0.0.1:${server.smtpPort}`,
  `SMTP_USER=${account.user}`,
  `SMTP_PASSWORD=${account.password}`,
  `POP_SERVER=${scheme}127.0.0.1:${server.popPort}`,
  `POP_ACCOUNT=${account.user}`,
  `POP_PASSWORD=${account.password}`,
  `HTTP_PORT_CFG=${values.port}`,
  'TEST_MODE=FALSE',
  '',
].join('\r\n'));

const program = launch(application, certificates?.environment());
program.child.stdout.pipe(process.stdout);
program.child.stderr.pipe(process.stderr);

async function filterOnce() {
  const port = await program.port();
  const page = await post(port, '/login.cgi',
    { POP_ACCOUNT: account.user, POP_PASSWORD: account.password, SUBMIT: 'Login' });
  const session = /s=([A-Z]{64})'/.exec(page)?.[1];
  if (!session) throw new Error(`The log-on brought no session: ${page}`);
  await get(port, `/MAILFILTER.CGI?s=${session}`);
  await until(() => /Mail filtered: /.test(program.output), 'the filter run', 30000);
  return port;
}

let status = 1;
try {
  const port = await Promise.race([filterOnce(), left.then(() => null)]);
  if (port !== null) {
    status = 0;
    if (!values.once) {
      console.log(`\nThe web interface:  http://localhost:${port}/`);
      console.log(`Account:            ${account.user}`);
      console.log(`Password:           ${account.password}`);
      console.log(`Files:              ${folder}`);
      console.log('\nCtrl-C ends the demo.\n');
      await Promise.race([left, new Promise((resolve) => program.child.once('close', resolve))]);
    }
  }
} catch (error) {
  console.error(`demo: ${error.message}`);
}
program.close();
await until(() => program.ended, 'the end of the program', 10000).catch(() => program.kill());
await server.stop();
process.exit(status);
