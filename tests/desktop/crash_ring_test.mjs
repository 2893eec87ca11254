// The Windows program is ended by force, or its disk is full: the tests of the console program.

import { useWindowsProgram } from './window_run.mjs';

useWindowsProgram();
await import('../system/crash_test.mjs');
