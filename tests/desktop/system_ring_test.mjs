// Odd servers and restores with the Windows program: the tests of the console program.

import { useWindowsProgram } from './window_run.mjs';

useWindowsProgram();
await import('../system/odd_server_test.mjs');
await import('../system/restore_test.mjs');
