// Settings, log and announcement of the Windows program: the tests of the console program.

import { useWindowsProgram } from './window_run.mjs';

useWindowsProgram();
await import('../system/settings_test.mjs');
await import('../system/log_test.mjs');
await import('../system/announcement_test.mjs');
