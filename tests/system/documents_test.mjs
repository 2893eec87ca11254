// What the documents tell people to type works. Every command of docs/hacking.md is run, the long ones in a form that
// ends soon; one that nobody has thought of fails.

import assert from 'node:assert/strict';
import { execFile, execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { describe, test } from 'node:test';
import { promisify } from 'node:util';

import { repository } from '../support/launcher.mjs';
import { freePort, removeFolder, temporaryFolder } from '../support/tools.mjs';

const execute = promisify(execFile);
const { NODE_TEST_CONTEXT: _, GTEST_OUTPUT: __, ...env } = process.env;

// { said, status } of a command line.
async function shell(command) {
  try {
    const { stdout, stderr } = await execute('bash', ['-c', command], { cwd: repository, env, timeout: 240000 });
    return { said: stdout + stderr, status: 0 };
  } catch (error) {
    return { said: `${error.stdout}${error.stderr}`, status: error.code };
  }
}

async function works(command) {
  const { said, status } = await shell(command);
  assert.equal(status, 0, said);
  return said;
}

const aTestPassed = async (command) => assert.match(await works(command), /\[ {2}PASSED {2}\] [1-9]|^# pass [1-9]/m);
const isInstalled = (...programs) => works(programs.map((program) => `command -v ${program}`).join(' && '));
const isThere = (file) => assert.ok(fs.existsSync(path.join(repository, file)), `no ${file}`);

// The beginning of a command line: how it is tried.
const CHEAP = {
  'script/run': async () => {
    const folder = temporaryFolder('documents');
    await works(`script/run --once --port ${await freePort()} ${folder}`);
    removeFolder(folder);
  },
  // The rings are chosen before anything is set up.
  'script/test': async () => {
    const { said, status } = await shell('script/test nonsense');
    assert.equal(status, 2);
    assert.match(said, /unit, system, browser, desktop, fuzz/);
  },
  'script/lint': () => works('script/lint includes documents shell'),
  'script/build': async () => {
    const { said, status } = await shell('script/build nonsense');
    assert.equal(status, 2);
    const line = hacking.match(/^ {4}script\/build (.*)$/m)[1];
    const told = [...line.matchAll(/\[(\w+)\]/g)].map(([, name]) => name);
    assert.deepEqual(told, said.match(/\((.*)\)/)[1].split(', '));
  },
  'script/bench': () => works('bash -n script/bench'),
  // tests/desktop/installer_test.mjs runs it.
  'script/package': () => works('bash -n script/package'),
  'script/pictures': () => works('bash -n script/pictures'),
  'ctest': (command) => works(`${command} -N`),
  'cmake --build': (command) => works(command),
  'build/linux/tests/unit/': aTestPassed,
  'node tests/desktop/emulator.mjs': aTestPassed,
  'node --test': aTestPassed,
  // A whole file of tests: ctest runs it.
  'node tests/': async (command) => {
    const [, ring, name] = /^node tests\/(\w+)\/(\w+)\.mjs$/.exec(command);
    assert.ok((await works('ctest --preset all -N')).includes(`: ${ring}/${name}\n`), `ctest does not know ${ring}/${name}`);
  },
  'export WINEPREFIX': () => works('test -d $(mktemp -d)'),
  'Xvfb': () => isInstalled('Xvfb', 'openbox'),
  'wine': () => isThere('dist/windows/vornelle.exe'),
};

const hacking = fs.readFileSync(path.join(repository, 'docs', 'hacking.md'), 'utf8');
const commands = [...hacking.matchAll(/^ {4}(\S.*)$/gm)].map(([, line]) => line.replace(/ {3,}.*$/, ''));

describe('commands', () => {
  test('there are commands', () => assert.ok(commands.length > 10));
  for (const command of commands) {
    test(command, async () => {
      const [, tried] = Object.entries(CHEAP).find(([start]) => command.startsWith(start)) ?? [];
      assert.ok(tried, 'nobody has said how this command is tried');
      await tried(command);
    });
  }
});

test('the command for the hash of a script gives what the page allows', async () => {
  const document = fs.readFileSync(path.join(repository, 'docs', 'formats.md'), 'utf8');
  const command = /`(openssl dgst[^`]*)`/.exec(document)[1];
  for (const name of ['top.inc', 'login.htm']) {
    const page = fs.readFileSync(path.join(repository, 'dist', 'linux', 'data', name), 'latin1');
    const scripts = [...page.matchAll(/<script>([^]*?)<\/script>/g)].map(([, text]) => text.replaceAll('\r\n', '\n'));
    assert.ok(scripts.length > 0, name);
    for (const script of scripts) {
      const hash = execFileSync('bash', ['-c', command], { input: Buffer.from(script, 'latin1'), encoding: 'utf8' }).trim();
      assert.ok(page.includes(`'sha256-${hash}'`), `${name}: ${hash}`);
    }
  }
});

test('the version stands in CMakeLists.txt, and the files that the front page names carry it', () => {
  const [, version] = /^project\(vornelle VERSION (\S+)/m.exec(fs.readFileSync(path.join(repository, 'CMakeLists.txt'), 'utf8'));
  const named = [...fs.readFileSync(path.join(repository, 'README.md'), 'utf8').matchAll(/vornelle-(\d[\d.]*\d)-/g)];
  assert.ok(named.length > 0);
  for (const [, one] of named) assert.equal(one, version);
});

test('a rule that is broken fails script/lint', async () => {
  // A copy of the tree's list with files that break the rules, beside a script/lint that looks there.
  const folder = temporaryFolder('lint');
  const write = (name, text) => {
    fs.mkdirSync(path.dirname(path.join(folder, name)), { recursive: true });
    fs.writeFileSync(path.join(folder, name), text, { mode: 0o755 });
  };
  for (const name of ['script/lint', '.clang-format', '.clang-tidy']) write(name, fs.readFileSync(path.join(repository, name)));
  fs.symlinkSync(path.join(repository, 'node_modules'), path.join(folder, 'node_modules'));
  fs.copyFileSync(path.join(repository, 'eslint.config.mjs'), path.join(folder, 'eslint.config.mjs'));
  write('.gitignore', '/node_modules\n');
  write('mail/low.h', '#pragma once\n#include "web/high.h"\n');
  write('web/high.h', '#pragma once\n');
  write('web/ugly.cpp', '#include <windows.h>\nint  f ( ) {return 1 ;}\n');
  write('web/slow.cpp', '#include <string>\nint lengthOf(std::string text) { return static_cast<int>(text.size()); }\n');
  write('tests/unused.mjs', 'const unused = 1;\n');
  write('script/careless', '#!/usr/bin/env bash\nrm -rf $1/x\n');
  write('docs/guide.html', '<li><a href="#one">One</a></li><h2 id="two">Two</h2><img src="guide/lost.webp">');
  write('docs/lost.md', 'See [there](nowhere.md) and `core/nothing.cpp`.\n');
  execFileSync('git', ['init', '-q'], { cwd: folder });
  const broken = async (rule, pattern) => {
    const { said, status } = await shell(`${path.join(folder, 'script', 'lint')} ${rule}`);
    assert.equal(status, 1, said);
    assert.match(said, pattern);
  };
  await broken('includes', /mail\/low\.h: "web\/high\.h" is above mail\/[^]*web\/ugly\.cpp: <windows\.h> belongs to the platform/);
  await broken('format', /ugly\.cpp/);
  await broken('scripts', /'unused' is assigned a value but never used/);
  await broken('shell', /SC2086/);
  await broken('documents', /nowhere\.md leads nowhere\n.*there is no core\/nothing\.cpp/);
  await broken('documents', /the link #one leads nowhere\n.*the contents are not the chapters: one\n.*no description or no size.*\n.*its pictures are guide\/lost/);
  await broken('tidy', /slow\.cpp.*performance-unnecessary-value-param/);
  removeFolder(folder);
});

describe('the guide', () => {
  const guide = fs.readFileSync(path.join(repository, 'docs', 'guide.html'), 'utf8');
  // What a reader sees, in one line, with straight quotation marks.
  const plain = (html) => html.replaceAll('<br>', ' ').replace(/<[^>]*>/g, '').replaceAll('&lt;', '<').replaceAll('&gt;', '>')
    .replaceAll('&quot;', '"').replaceAll('&amp;', '&').replace(/[“”]/g, '"').replace(/\s+/g, ' ').trim();
  const said = plain(guide);
  const sources = execFileSync('git', ['ls-files', 'core', 'mail', 'pages', 'web', 'desktop'], { cwd: repository, encoding: 'utf8' })
    .split('\n').filter((file) => /\.(cpp|js)$/.test(file));

  // What is no message: labels, tips and help texts, which explain themselves where they stand, and what the chapter on mail
  // providers tells.
  const NO_MESSAGES = /^desktop\/(console\/|win32\/|frmAbout)|^pages\/(message_page\.cpp|find_page\.cpp|script\/providers\.js)$/;

  // The texts of a source file that are told to somebody: three words at least and a sentence's end, or the asterisks of a
  // log line. A text that is put together from pieces gives its pieces.
  function messagesOf(file) {
    const source = fs.readFileSync(path.join(repository, file), 'latin1').replace(/^\s*\/\/.*$/gm, '').replace(/^#include.*$/gm, '')
      .replace(/"\s*\n\s*"/g, '');
    const quoted = file.endsWith('.js') ? /'((?:[^'\\\n]|\\.)*)'/g : /"((?:[^"\\\n]|\\.)*)"/g;
    // Markup around a text is taken off: a piece of it may begin or end in the middle of a tag.
    const texts = [...source.matchAll(quoted)].flatMap(([, text]) => text.replace(/\\[rn]/g, ' ').replace(/\\(.)/g, '$1')
      .replace(/<\/?(b|i|strong|small|code)>/g, '').replace(/^"[^<>]*>/, '').split(/<\/?[a-z!][^<>]*(?:>|$)/).map(plain));
    return texts.filter((text) => (text.match(/[A-Za-z']{2,}/g) ?? []).length >= 3 && /[a-z)"][.!?]( |$)|^\*\*/.test(text));
  }

  test('has every message of the program', () => {
    const messages = sources.filter((file) => !NO_MESSAGES.test(file)).flatMap((file) => messagesOf(file).map((text) => [file, text]));
    assert.ok(messages.length > 100, `${messages.length} messages`);
    assert.deepEqual(messages.filter(([, text]) => !said.includes(text)), []);
  });

  // The build takes them from there (script/templates).
  test('gives the settings page the servers of each provider, and no address belongs to two of them', () => {
    const rows = [...guide.matchAll(/<tr data-domains="([^"]+)"><td>[^<]+<\/td><td><code>([^<]+)<\/code>.*?<br><code>([^<]+)<\/code>/g)];
    assert.ok(rows.length > 20);
    assert.equal(rows.length, guide.match(/data-domains=/g).length);
    const domains = rows.flatMap(([, all]) => all.split(' '));
    assert.deepEqual(domains.filter((one, at) => domains.indexOf(one) !== at), []);
    for (const [, all, pop, smtp] of rows) {
      assert.match(pop, /^[a-z0-9.-]+:995$/, all);
      assert.match(smtp, /^[a-z0-9.-]+:(465|587)$/, all);
    }
    const page = fs.readFileSync(path.join(repository, 'dist', 'linux', 'data', 'config.htm'), 'latin1');
    for (const [, all, pop, smtp] of rows) assert.match(page, new RegExp(`\\["${all}","[^"]+","${pop}","${smtp}",`));
  });

  test('names every file of the application folder', () => {
    for (const name of ['Vornelle.ini', 'Vornelle.log', 'tls-certificates.txt', 'message.txt', 'data\\friendlist.txt', 'data\\subjectlist.txt',
      'data\\enemylist.txt', 'spam\\']) assert.ok(said.includes(name), name);
  });
});
