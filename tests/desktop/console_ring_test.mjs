// The Windows program starts, ends, and serves its pages like the console program: the same tests, under Wine, its log
// box in the place of standard output and its message boxes in the place of standard error.

import path from 'node:path';

import { useProgram } from '../support/launcher.mjs';
import { PROGRAM_FOLDER } from './wine.mjs';
import { WindowRun } from './window_run.mjs';

useProgram(path.join(PROGRAM_FOLDER, 'vornelle.exe'), (folder, environment) => new WindowRun(folder, 'vornelle.exe', environment));
await import('../system/start_test.mjs');
await import('../system/pages_test.mjs');
await import('../system/web_test.mjs');
