// The run that the Windows program's schedule starts: the tests of the console program, two minutes of the real clock.
// ctest: first

import { useWindowsProgram } from './window_run.mjs';

useWindowsProgram();
await import('../system/automatic_run_test.mjs');
