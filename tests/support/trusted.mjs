// The certificates of a test process whose programs trust their authority: the console program by its environment, the
// Windows program by its registry.

import { Certificates } from './certificates.mjs';

export const certificates = new Certificates();
