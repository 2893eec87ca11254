// The demo mailbox: the messages of tests/demo, and one more that is too large to lie in a repository. See tests/demo
// for the three lists that go with it.

import fs from 'node:fs';
import path from 'node:path';

import { repository } from './launcher.mjs';

export const demoFolder = path.join(repository, 'tests', 'demo');

// What a filter run makes of the mailbox with the demo's lists and the default size limit.
export const DEMO_MESSAGES = 40;
export const DEMO_KEPT = 18;
export const DEMO_SPAM = 22;

// Over the default limit of 150 KB: kept, although nobody knows the sender.
function largeMessage() {
  const line = 'VGhlIHNlYSwgdGhlIHNlYSwgYSBzZWFndWxsLCB0aGUgc2VhLCBteSB0aHVtYi4g\r\n';
  return 'From: A Cousin You Forgot <camera@cousins.example>\r\n' +
    'To: Wilma Winterbottom <wilma@home.example>\r\n' +
    'Subject: All two hundred holiday pictures, in one mail\r\n' +
    'Date: Fri, 13 Nov 2026 20:15:00 +0100\r\n' +
    'Message-ID: <40.holiday-pictures@example.com>\r\n' +
    'MIME-Version: 1.0\r\n' +
    'Content-Type: multipart/mixed; boundary="pictures"\r\n\r\n' +
    '--pictures\r\nContent-Type: text/plain; charset=us-ascii\r\n\r\n' +
    'The sea, from all sides. I come to visit as soon as you have seen them all.\r\n' +
    '--pictures\r\nContent-Type: image/jpeg; name="sea.jpg"\r\n' +
    'Content-Disposition: attachment; filename="sea.jpg"\r\nContent-Transfer-Encoding: base64\r\n\r\n' +
    line.repeat(3600) + '--pictures--\r\n';
}

// Fills a fresh folder with the 40 messages; file names without ".eml" are the unique-ids.
export function makeDemoMaildrop(folder) {
  fs.rmSync(folder, { recursive: true, force: true });
  fs.mkdirSync(folder, { recursive: true });
  for (const name of fs.readdirSync(demoFolder).filter((n) => n.endsWith('.eml'))) {
    fs.copyFileSync(path.join(demoFolder, name), path.join(folder, name));
  }
  fs.writeFileSync(path.join(folder, '40-holiday-pictures.eml'), largeMessage(), 'latin1');
}
