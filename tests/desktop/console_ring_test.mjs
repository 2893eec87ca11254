// The Windows program starts, ends, and serves its pages like the console program: the same tests, under Wine, its log
// box in the place of standard output and its message boxes in the place of standard error.

import { useWindowsProgram } from './window_run.mjs';

useWindowsProgram();
await import('../system/start_test.mjs');
await import('../system/pages_test.mjs');
await import('../system/web_test.mjs');
