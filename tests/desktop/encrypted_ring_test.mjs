// Encrypted connections of the Windows program to real mail servers: the tests of the console program.

import { certificates } from '../support/trusted.mjs';
import { useWindowsProgram } from './window_run.mjs';

useWindowsProgram({ authority: certificates.root.der });
await import('../system/encrypted_test.mjs');
