// The platform's TLS against real servers: the same tests for every system.
//
//   tlsRing({ engine: 'OpenSSL', newest: true, start: async (certificates, environment) => ({ probe, stop }) });
//
// engine: what the figures are called by. newest: whether 1.3 is offered at once.

import assert from 'node:assert/strict';
import http from 'node:http';
import { after, before, describe, test } from 'node:test';

import { Certificates } from './certificates.mjs';
import { rows } from './tls_matrix.mjs';
import { lineTo, serveOpenssl, servePlain, serveTls } from './tls_server.mjs';
import { until } from './tools.mjs';

const HOST = 'mail.vornelle.test';
const HELLO = 'hello\r\n';

// FNV-1a, as the probe has it.
export function sumOf(bytes) {
  let sum = 2166136261;
  for (let i = 0; i < bytes.length; i++) sum = Math.imul(sum ^ bytes[i], 16777619) >>> 0;
  return sum;
}
const pattern = (length) => Buffer.from(Array.from({ length: Math.min(length, 65521) }, (_, i) => (i * 31 + (i >> 8)) & 255));
function textOf(length) {
  const piece = pattern(length);
  return Buffer.concat(Array(Math.ceil(length / piece.length)).fill(piece)).subarray(0, length);
}
const median = (values) => values.toSorted((a, b) => a - b)[values.length >> 1];

export function tlsRing({ engine, newest, start }) {
  let certificates;
  let good;
  let probe;
  let stop;
  const open = [];  // servers of the test that runs
  const keep = (server) => { open.push(server); return server; };
  const serve = async (options) => keep(await serveTls({ certificate: good, ...options }));
  const line = async (...args) => keep(await lineTo(...args));

  before(async () => {
    certificates = new Certificates();
    good = certificates.make({ names: [`DNS:${HOST}`] });
    ({ probe, stop } = await start(certificates));
  });
  after(async () => {
    probe?.end();
    await stop?.();
  });
  const named = (name, body) => test(name, async () => {
    try {
      await body();
    } finally {
      await probe.close();
      for (const server of open.splice(0)) server.close();
    }
  });

  describe('certificates', () => {
    named('EveryCertificateIsJudgedByTheRules', async () => {
      let asked = 0;
      const issuer = http.createServer((request, response) => { asked++; response.end(); });
      await new Promise((resolve) => issuer.listen(0, '127.0.0.1', resolve));
      const list = rows(certificates, `http://127.0.0.1:${issuer.address().port}/UNLOADME`);
      const wrong = [];
      let refused = 0;
      for (const row of list) {
        const server = await serveTls({ certificate: row.certificate });
        const answer = await probe.open(server.port, { host: row.host, accepted: row.accepted });
        const told = server.connections[0]?.servername;
        const expected = engine === 'Schannel' ? row.wine ?? row.expected : row.expected;
        console.log(`${engine}: ${row.rule}: ${answer.problem} (${answer.system})`);
        if (answer.problem !== expected || answer.stream !== (expected === 'none') ||
          answer.fingerprint !== row.certificate.fingerprint || (row.sni !== undefined && told !== row.sni)) {
          wrong.push({ rule: row.rule, expected, answer, told });
        }
        if (expected !== 'none') refused++;
        await probe.close();
        server.close();
      }
      issuer.close();
      assert.deepEqual(wrong, []);
      assert.equal(asked, 0, 'an issuer was fetched');
      assert.ok(list.length >= 60);
      console.log(`figure: ${engine}: ${list.length} certificates judged, ${refused} of them refused as they have to be`);
    });

    named('TheCertificateIsToldByItsName', async () => {
      const both = certificates.make({ name: 'Common Name', names: ['IP:127.0.0.9', 'DNS:first.test', 'DNS:second.test'] });
      assert.equal((await probe.open((await serve({ certificate: both })).port)).certificateName, 'first.test');
      const common = certificates.make({ name: 'Common Name', names: ['IP:127.0.0.9'] });
      assert.equal((await probe.open((await serve({ certificate: common })).port)).certificateName, 'Common Name');
    });

    named('AServerThatAsksForACertificateOfOursGoesWithout', async () => {
      for (const maxVersion of ['TLSv1.2', 'TLSv1.3']) {
        const server = await serve({ requestCert: true, rejectUnauthorized: false, maxVersion });
        assert.equal((await probe.open(server.port)).problem, 'none');
        assert.equal((await probe.ask('read 3000')).text, HELLO);
      }
    });
  });

  describe('versions', () => {
    const openssl = async (...args) => keep(await serveOpenssl(good, '-cipher', 'ALL:@SECLEVEL=0', ...args));
    for (const version of ['-tls1', '-tls1_1']) {
      named(`AServerWithNothingNewerThan${version}IsRefused`, async () => {
        const answer = await probe.open((await openssl(version)).port);
        assert.equal(answer.problem, 'version');
        assert.equal(answer.newestMayDo, false);
        assert.equal(answer.stream, false);
      });
    }
    named('Version12IsTaken', async () => {
      const answer = await probe.open((await openssl('-tls1_2')).port);
      assert.deepEqual([answer.problem, answer.protocol], ['none', 'TLS 1.2']);
    });
    named('Version13IsTakenOrAnotherTryIsAskedFor', async () => {
      const { port } = await openssl('-tls1_3');
      const answer = await probe.open(port);
      if (newest) {
        assert.deepEqual([answer.problem, answer.protocol, answer.newestMayDo], ['none', 'TLS 1.3', false]);
        assert.equal((await probe.open(port, { versions: 'newest' })).protocol, 'TLS 1.3');
      } else {
        assert.deepEqual([answer.problem, answer.newestMayDo], ['version', true]);
        const second = await probe.open(port, { versions: 'newest' });
        assert.equal(second.newestMayDo, false);
      }
    });
    named('APeerWithoutTlsIsToldAtOnce', async () => {
      for (const greeting of ['+OK ready\r\n', '220 ready\r\n', 'HTTP/1.0 400 \r\n', '\0']) {
        const { port } = keep(await servePlain((socket) => socket.write(greeting)));
        const answer = await probe.open(port);
        assert.equal(answer.problem, 'notTls');
        assert.ok(answer.milliseconds < 3000, `${answer.milliseconds} ms`);
      }
    });
    named('APeerThatSaysNothingIsATimeOut', async () => {
      const { port } = keep(await servePlain());
      const answer = await probe.open(port, { timeout: 700 });
      assert.equal(answer.problem, 'timedOut');
      assert.ok(answer.milliseconds >= 680 && answer.milliseconds < 3000, `${answer.milliseconds} ms`);
    });
  });

  // What the server sends during a handshake of version 1.2, in bytes.
  async function handshakeLength(port) {
    const through = await line(port);
    assert.equal((await probe.open(through.port)).problem, 'none');
    const length = await until(() => through.passed, 'the handshake');
    await probe.close();
    through.close();
    return length;
  }
  const silent = { maxVersion: 'TLSv1.2', talk: () => {} };

  describe('a handshake', () => {
    named('ThatIsCutAnywhereIsClosed', async () => {
      const { port } = await serve(silent);
      const length = await handshakeLength(port);
      for (const then of ['cut', 'reset']) {
        for (let at = 0; at < length; at += at < 100 ? 9 : 41) {
          const through = await lineTo(port, { upTo: at, then });
          const answer = await probe.open(through.port);
          through.close();
          // A line that is reset at once may never have been one.
          if (then === 'reset' && at === 0 && answer.problem === 'no connection') continue;
          assert.equal(answer.problem, 'closed', `${then} behind ${at} of ${length}: ${JSON.stringify(answer)}`);
        }
      }
    });
    named('ThatIsHeldUpAnywhereIsATimeOut', async () => {
      const { port } = await serve(silent);
      const length = await handshakeLength(port);
      for (const at of [0, 1, 4, 60, 700, length - 30, length - 1]) {
        const through = await lineTo(port, { upTo: at, then: 'silence' });
        const answer = await probe.open(through.port, { timeout: 400 });
        through.close();
        assert.equal(answer.problem, 'timedOut', `behind ${at} of ${length}`);
        assert.ok(answer.milliseconds >= 380 && answer.milliseconds < 2500, `${answer.milliseconds} ms behind ${at}`);
      }
    });
    named('ThatComesByDripsIsATimeOutOrWhole', async () => {
      const { port } = await serve(silent);
      const slow = await line(port, { pieces: 1, pause: 5 });
      const answer = await probe.open(slow.port, { timeout: 400 });
      assert.equal(answer.problem, 'timedOut');
      assert.ok(answer.milliseconds < 2500);
      const quicker = await line(port, { pieces: 50, pause: 1 });
      assert.equal((await probe.open(quicker.port)).problem, 'none');
    });
    named('WithABitTurnedIsNoneAnywhere', async () => {
      const { port } = await serve(silent);
      const length = await handshakeLength(port);
      for (let at = 5; at < length; at += 97) {
        const through = await lineTo(port, { flip: at });
        const answer = await probe.open(through.port, { timeout: 1000 });
        through.close();
        assert.equal(answer.stream, false, `bit at ${at} of ${length}: ${JSON.stringify(answer)}`);
      }
    });
  });

  describe('a stream', () => {
    const text = textOf(60000);
    const sum = sumOf(text);
    const inRecords = (socket) => { for (let at = 0; at < text.length; at += 3000) socket.write(text.subarray(at, at + 3000)); };
    const versions = newest ? ['TLSv1.2', 'TLSv1.3'] : ['TLSv1.2'];

    for (const maxVersion of versions) {
      named(`IsWholeInPiecesOfAnySizeAndEndsWhereThePeerSaysSo${maxVersion}`, async () => {
        const { port } = await serve({ maxVersion, talk: (socket) => { inRecords(socket); socket.end(); } });
        for (const pieces of [7, 50, 1009, 100000]) {
          const through = await lineTo(port, { pieces });
          assert.equal((await probe.open(through.port)).problem, 'none');
          const answer = await probe.ask('take 5000 1000000');
          through.close();
          assert.deepEqual([answer.state, answer.bytes, answer.sum], ['end', text.length, sum], `pieces of ${pieces}`);
        }
      });
    }
    named('ThatIsCutIsBrokenBehindItsLastWholeRecord', async () => {
      const { port } = await serve({ maxVersion: 'TLSv1.2', talk: (socket) => socket.once('data', () => inRecords(socket)) });
      const length = await handshakeLength(port);
      for (const then of ['cut', 'reset']) {
        for (const behind of [0, 1, 4, 5, 6, 1500, 3000, 3028, 3029, 3030, 6058, 20000, 60000]) {
          const through = await line(port, { upTo: length + behind, then });
          const opened = await probe.open(through.port);
          // Cut right behind the handshake the line may be gone already.
          assert.ok(opened.problem === 'none' || behind === 0, `${opened.problem}, ${then} ${behind} behind ${length}`);
          if (opened.stream) {
            await probe.ask('write 1000 GO');
            const answer = await probe.ask('take 3000 1000000');
            assert.equal(answer.state, 'nothing', `${then} ${behind} bytes behind the handshake`);
            // The server makes records of what it has to say as it likes; the first one is as it was written.
            assert.ok(answer.bytes <= behind && (behind > 6000 || answer.bytes === Math.floor(behind / 3029) * 3000),
              `${answer.bytes} of ${behind}`);
            assert.equal(answer.sum, sumOf(text.subarray(0, answer.bytes)));
            assert.equal((await probe.ask('write 1000 GO')).done, false);
          }
          through.close();
        }
      }
    });
    named('WithABitTurnedIsBrokenThere', async () => {
      const { port } = await serve({ maxVersion: 'TLSv1.2', talk: (socket) => socket.once('data', () => inRecords(socket)) });
      const length = await handshakeLength(port);
      for (const behind of [3029, 3034, 3500, 6000]) {
        const through = await line(port, { flip: length + behind });
        assert.equal((await probe.open(through.port)).problem, 'none');
        await probe.ask('write 1000 GO');
        const answer = await probe.ask('take 1500 1000000');
        assert.deepEqual([answer.state, answer.bytes], ['nothing', 3000], `bit ${behind} behind the handshake`);
        through.close();
      }
    });
    named('ThatFallsSilentIsATimeOut', async () => {
      const { port } = await serve({ maxVersion: 'TLSv1.2', talk: (socket) => socket.once('data', () => inRecords(socket)) });
      const length = await handshakeLength(port);
      for (const behind of [0, 3, 60, 800]) {
        const through = await line(port, { upTo: length + behind, then: 'silence' });
        assert.equal((await probe.open(through.port)).problem, 'none');
        await probe.ask('write 1000 GO');
        const answer = await probe.ask('read 500');
        assert.equal(answer.state, 'nothing');
        assert.ok(answer.milliseconds >= 480 && answer.milliseconds < 2500, `${answer.milliseconds} ms behind ${behind}`);
      }
    });
    named('GoesOnAfterATimeOut', async () => {
      const { port } = await serve({ talk: (socket) => socket.once('data', () => socket.write(HELLO)) });
      await probe.open(port);
      assert.equal((await probe.ask('read 300')).state, 'nothing');
      assert.equal((await probe.ask('write 1000 GO')).done, true);
      assert.equal((await probe.ask('read 3000')).text, HELLO);
    });
    named('OfThousandsOfSmallMessages', async () => {
      const message = Buffer.from('+OK 200 octets\r\n' + 'x'.repeat(196) + '\r\n.\r\n');
      const { port } = await serve({ talk: (socket) => socket.once('data', () => {
        for (let i = 0; i < 5000; i++) socket.write(message);
      }) });
      await probe.open(port);
      await probe.ask('write 1000 GO');
      const answer = await probe.ask(`take 10000 ${5000 * message.length}`);
      assert.deepEqual([answer.state, answer.bytes], ['whole', 5000 * message.length]);
      assert.equal(answer.sum, sumOf(Buffer.concat(Array(5000).fill(message))));
    });
    named('TakesWhatIsWritten', async () => {
      let came = 0;
      const { port } = await serve({ talk: (socket) => socket.on('data', (data) => {
        came += data.length;
        if (came === 50_000_000) socket.write(HELLO);
      }) });
      await probe.open(port);
      assert.equal((await probe.ask('fill 10000 50000000')).done, true);
      assert.equal((await probe.ask('read 10000')).text, HELLO);
    });
    named('WhosePeerTakesNothingIsATimeOutOfTheWrite', async () => {
      const { port } = await serve({ talk: (socket) => socket.pause() });
      await probe.open(port);
      const answer = await probe.ask('fill 500 50000000');
      assert.equal(answer.done, false);
      assert.ok(answer.milliseconds >= 480 && answer.milliseconds < 8000, `${answer.milliseconds} ms`);
      assert.equal((await probe.ask('read 100')).state, 'nothing');
    });
    named('ThatTheProgramEndsIsSaidToEnd', async () => {
      const server = keep(await serveOpenssl(good, '-msg'));
      await probe.open(server.port);
      await probe.close();
      await until(() => /<<< .*Alert.*warning close_notify/.test(server.said()), () => `close_notify in ${server.said()}`);
    });
    named('WhosePeerAsksForARenegotiationGoesOnOrIsBroken', async () => {
      const server = keep(await serveOpenssl(good, '-tls1_2', '-legacy_renegotiation'));
      await probe.open(server.port);
      server.say('r\n');
      const answer = await probe.ask('read 1000');
      server.say('text behind it\n');
      const next = await probe.ask('read 1500');
      // Never a text that is none.
      assert.equal(answer.state, 'nothing');
      assert.ok(next.state === 'nothing' || next.text.startsWith('text behind it'), JSON.stringify(next));
      console.log(`${engine}: renegotiation asked for: ${next.state === 'text' ? 'refused, goes on' : 'broken'}`);
    });
    if (newest) {
      named('GoesOnBehindAnUpdateOfKeys', async () => {
        const server = keep(await serveOpenssl(good, '-tls1_3'));
        await probe.open(server.port);
        server.say('K\n');
        assert.equal((await probe.ask('read 500')).state, 'nothing');
        server.say('text behind it\n');
        assert.match((await probe.ask('read 3000')).text, /^text behind it/);
        await probe.ask('write 1000 answer');
        await until(() => server.said().includes('answer'), 'what was written with the new keys');
      });
    }
  });

  describe('figures', () => {
    const large = textOf(50_000_000);
    named('OfAHandshakeAndOfThroughput', async () => {
      const many = textOf(4096);
      const talk = (socket) => socket.on('data', (data) => {
        if (data.toString('latin1').includes('LARGE')) socket.write(large);
        else for (let i = 0; i < 2000; i++) socket.write(many);
      });
      const secure = await serve({ talk });
      const plain = keep(await servePlain(talk));
      const handshakes = [];
      for (let i = 0; i < 20; i++) handshakes.push((await probe.open(secure.port)).milliseconds);
      const measure = async (port, versions, what, bytes) => {
        const times = [];
        for (let i = 0; i < 5; i++) {
          await probe.open(port, { versions });
          await probe.ask(`write 1000 ${what}`);
          const answer = await probe.ask(`take 20000 ${bytes}`);
          assert.deepEqual([answer.state, answer.bytes], ['whole', bytes]);
          times.push(answer.milliseconds);
        }
        return median(times);
      };
      const [manyPlain, manySecure, largePlain, largeSecure] = [
        await measure(plain.port, 'plain', 'MANY', 2000 * 4096), await measure(secure.port, 'usual', 'MANY', 2000 * 4096),
        await measure(plain.port, 'plain', 'LARGE', large.length), await measure(secure.port, 'usual', 'LARGE', large.length)];
      console.log(`figure: ${engine}: handshake and check ${median(handshakes)} ms (first ${handshakes[0]} ms); 2,000 x 4 KB in ` +
        `${manySecure} ms (plain ${manyPlain} ms); 50 MB in ${largeSecure} ms (plain ${largePlain} ms)`);
    });
  });
}
