// The browsers that tests use, both from Debian and both through playwright-core: Chromium over its own protocol, Firefox
// over WebDriver BiDi. Whether pages are dark is a matter of the page in Chromium, and of the start in Firefox.

import { chromium, firefox } from 'playwright-core';

import { isRoot } from './tools.mjs';

// The channel's name makes it BiDi: the other protocol is for a Firefox that was patched for it.
const FIREFOX = { executablePath: '/usr/bin/firefox-esr', channel: 'moz-firefox' };

export const KINDS = {
  'chromium': {
    type: chromium,
    // Root's Chromium runs only without its sandbox.
    options: { executablePath: '/usr/bin/chromium', args: isRoot() ? ['--no-sandbox'] : [] },
  },
  'firefox': { type: firefox, options: FIREFOX },
  'firefox dark': {
    type: firefox,
    options: { ...FIREFOX, firefoxUserPrefs: { 'layout.css.prefers-color-scheme.content-override': 0, 'ui.prefersReducedMotion': 1 } },
  },
};
