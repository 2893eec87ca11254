// Filter runs of the Windows program against Dovecot and over broken lines: the tests of the console program.

import { useWindowsProgram } from './window_run.mjs';

useWindowsProgram();
await import('../system/dovecot_test.mjs');
await import('../system/line_fault_test.mjs');
