// The gateway of the Windows program: the tests of the console program.

import { useWindowsProgram } from './window_run.mjs';

useWindowsProgram();
await import('../system/gateway_test.mjs');
await import('../system/busy_gateway_test.mjs');
await import('../system/preview_test.mjs');
await import('../system/wire_test.mjs');
