// Standard output of the console program: nobody has to read it.

import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import fs from 'node:fs';
import http from 'node:http';
import { test } from 'node:test';

import { Application } from '../support/harness.mjs';
import { launch } from '../support/launcher.mjs';
import { keepChild, until } from '../support/tools.mjs';

// More lines than a pipe and the program together hold.
const REQUESTS = 8000;
const LINE = 'vornelle.ico request complete!';

test('WhileNobodyReadsItTheProgramServesOnAndAfterwardsItTellsThatLinesAreMissing', async () => {
  const app = await Application.create();
  let pipe, reader;
  try {
    execFileSync('mkfifo', [app.path('output')]);
    pipe = fs.openSync(app.path('output'), fs.constants.O_RDWR);  // somebody could read
    app.process = launch(app.folder, {}, 'exec > output');
    app.port = Number(/HTTP_PORT_CFG=(\d+)/.exec(app.read('Vornelle.ini'))[1]);
    await until(() => app.isServing().catch(() => false), 'the program');

    const agent = new http.Agent({ keepAlive: true, maxSockets: 1 });
    for (let i = 0; i < REQUESTS; i++) {
      await new Promise((resolve, reject) => {
        http.get({ host: '::1', port: app.port, path: '/vornelle.ico', agent, timeout: 20000 }, (answer) => {
          answer.resume().on('end', resolve);
        }).on('error', reject).on('timeout', () => reject(new Error(`no answer to request ${i + 1}`)));
      });
    }
    agent.destroy();
    assert.equal(app.events().filter((event) => event === LINE).length, REQUESTS, 'the log file has every line');

    let output = '';
    reader = keepChild(spawn('cat', [app.path('output')], { stdio: ['ignore', 'pipe', 'ignore'] }));
    reader.stdout.on('data', (data) => { output += data; });
    await until(() => output.includes('Lines are missing here'), 'the word about it');
    assert.match(output, /Vornelle started: /);
    assert.ok(output.split(LINE).length < REQUESTS);
    await app.get('/');
    await until(() => output.endsWith('index.htm request complete!\n'), 'what comes behind');
    app.close();
    await app.ended();
    await until(() => output.endsWith('************************\n'), 'the closing lines');
  } finally {
    reader?.kill();
    if (pipe !== undefined) fs.closeSync(pipe);
    await app.stop();
  }
});
