// Silent servers and browsers in front of the Windows program: the tests of the console program, which wait by the real clock.

import { useWindowsProgram } from './window_run.mjs';

useWindowsProgram();
await import('../system/stall_test.mjs');
