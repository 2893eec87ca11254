// The pages that show and change mail, on the real program with a real mailbox behind it.

import assert from 'node:assert/strict';
import { after, before, beforeEach, describe, test } from 'node:test';

import { redirectTarget } from '../support/bare_http.mjs';
import { Dovecot } from '../support/dovecot.mjs';
import { boxesForm, settingsForm } from '../support/forms.mjs';
import { Application } from '../support/harness.mjs';
import { mail, spam } from '../support/mails.mjs';
import { converse } from '../support/tools.mjs';

const twoShapes = 'This is in two shapes.\r\n--b\r\nContent-Type: text/plain\r\n\r\nthe plain one\r\n' +
  '--b\r\nContent-Type: text/html; charset=utf-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n' +
  '<p>the <b>HTML</b> one: =C3=A9</p>\r\n--b--\r\n';
const MESSAGES = [
  mail({ from: '"Fay O\'Hara" <fay@friend.example>', subject: 'plain & simple', body: 'a < b\r\n"quoted" & more\r\n' }),
  Buffer.from(mail({ from: 'Fred <fred@friend.example>', subject: '=?utf-8?Q?zwei_K=C3=B6pfe?=', body: twoShapes }).toString('latin1')
    .replace('Date:', 'MIME-Version: 1.0\r\nContent-Type: multipart/alternative; boundary=b\r\nDate:'), 'latin1'),
  spam('one'), spam('two'), mail({ from: 'Flo <flo@friend.example>', subject: '' }),
];

let dovecot;
let app;
let ids;
before(async () => {
  dovecot = await Dovecot.start({ messages: MESSAGES });
  const said = await converse(dovecot.port, ['USER joe', 'PASS secret', 'UIDL', 'QUIT']);
  ids = [...said.matchAll(/^\d+ (\S+)\r$/gm)].map((line) => line[1]);
  app = await Application.start({ settings: { POP_SERVER: `127.0.0.1:${dovecot.port}`, TEST_MODE: 'TRUE' } });
});
beforeEach(() => app.login());
after(async () => {
  await app?.stop();
  await dovecot?.stop();
});

const rows = (page) => page.split(/<tr class='tableBGcolor2?'>/).slice(1);

describe('inbox', () => {
  test('ShowsEveryMessageOfTheServer', async () => {
    const page = await app.get('/displayinbox.htm?s={s}');
    assert.equal(rows(page).length, 5);
    for (const text of ['plain & simple', 'zwei K\xf6pfe', 'sam@spam-one.example', '&lt;none&gt;', 'showing 1 - 5 of 5']) {
      assert.ok(page.includes(text), text);
    }
    for (const id of ids) assert.ok(page.includes(`displayemail.cgi?uidl=${id}&s=${app.sessionId}`), id);
  });

  test('ShowsOneMessageByItsHtmlOrElseAsText', async () => {
    const plain = await app.get(`/displayemail.cgi?uidl=${ids[0]}&s={s}`);
    assert.match(plain, /a &lt; b\r\n<br>&quot;quoted&quot; & more/);
    assert.equal((await app.get(`/displayemail.cgi?uidl=${ids[1]}&s={s}`)).trim(), '<p>the <b>HTML</b> one: \xe9</p>');
  });

  test('AMessageThatIsGoneIsSaidToBe', async () => {
    const page = await app.get('/displayemail.cgi?uidl=nosuch&s={s}');
    assert.match(page, /<h2>Requested email does not exist!<\/h2>/);
    assert.ok(app.events().includes('**Requested email does not exist!'));
  });

  test('PagesThroughTheHeldListing', async () => {
    await app.post('/configupdate.cgi?s={s}', settingsForm({ MESSAGES_PER_PAGE: '2' }, ['TEST_MODE=1']));
    await app.get('/displayinbox.htm?s={s}');
    const second = await app.get('/displayinbox.htm?s={s}&MSG=2');
    assert.ok(second.includes('showing 3 - 4 of 5'));
    assert.equal(rows(second).length, 2);
    const last = await app.get('/displayinbox.htm?s={s}&msg=99');
    assert.ok(last.includes('showing 5 - 5 of 5'));
    await app.post('/configupdate.cgi?s={s}', settingsForm({ MESSAGES_PER_PAGE: '15' }, ['TEST_MODE=1']));
  });

  test('DeletesTheCheckedRowAndNoOther', async () => {
    const page = await app.get('/displayinbox.htm?s={s}');
    const row = rows(page).find((text) => text.includes('sam@spam-two'));
    const box = /<input name='(D\d+)'/.exec(row)[1];
    const answer = await app.post('/delete.cgi?s={s}', `SUBMIT3=DELETE&${box}=1&END=1`);
    assert.equal(redirectTarget(answer), `displayinbox.htm?s=${app.sessionId}`);
    assert.ok(app.events().includes('Delete mail from Sam <sam@spam-two.example>'), app.log());
    assert.deepEqual(dovecot.messages(), MESSAGES.filter((_, i) => i !== 3));
    assert.equal(rows(await app.get('/displayinbox.htm?s={s}')).length, 4);
  });

  test('KeepsItsOldListingWhenTheServerCannotBeReached', async () => {
    const server = /POP_SERVER=(.*)\r/.exec(app.read('Vornelle.ini'))[1];
    const before = rows(await app.get('/displayinbox.htm?s={s}'));
    await app.post('/configupdate.cgi?s={s}', settingsForm({ POP_SERVER: '127.0.0.1:1' }, ['TEST_MODE=1']));
    try {
      assert.deepEqual(rows(await app.get('/displayinbox.htm?s={s}')).length, before.length);
      assert.ok(app.events().includes('**Cannot log onto POP3 server.'));
      const page = await app.get(`/displayemail.cgi?uidl=${ids[0]}&s={s}`);
      assert.match(page, /^<html><body><h2>Cannot log onto POP3 server\. Try again later\.<\/h2>/);
    } finally {
      await app.post('/configupdate.cgi?s={s}', settingsForm({ POP_SERVER: server }, ['TEST_MODE=1']));
    }
  });
});

describe('spam box', () => {
  test('ListsShowsAndDeletesWhatTheFilterSaved', async () => {
    assert.ok((await app.get('/displayspambox.htm?s={s}')).includes('showing 0 - 0 of 0'));
    await app.filterMail();
    const page = await app.get('/displayspambox.htm?s={s}');
    assert.ok(page.includes('showing 1 - 1 of 1'));
    assert.ok(page.includes(`displayspam.cgi?fn=${ids[2]}.txt&s=${app.sessionId}`));
    const shown = await app.get(`/displayspam.cgi?fn=${ids[2]}.txt&s={s}`);
    assert.match(shown, /^From: Sam &lt;sam@spam-one\.example&gt;\r\n<br>To: /);
    await app.post('/deleterestore.cgi?s={s}', boxesForm('D0'));
    assert.deepEqual(app.spamBox(), {});
    assert.ok((await app.get('/displayspambox.htm?s={s}')).includes('showing 0 - 0 of 0'));
  });

  test('NothingOutsideTheFolderIsShown', async () => {
    for (const name of ['../Vornelle.ini', '..\\Vornelle.ini', '%2E%2E/Vornelle.ini', '../data/friendlist.txt']) {
      assert.doesNotMatch(await app.get(`/displayspam.cgi?fn=${name}&s={s}`), /POP_PASSWORD|friend\.example/);
    }
  });
});
