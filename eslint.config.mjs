// What eslint looks at, for script/lint: the tests and tools for Node, the pages' scripts for browsers.

import js from '@eslint/js';

const readable = (names) => Object.fromEntries(names.map((name) => [name, 'readonly']));
const BOTH = ['URL', 'URLSearchParams', 'TextDecoder', 'TextEncoder', 'AbortController', 'AbortSignal', 'console', 'fetch',
  'performance', 'setTimeout', 'clearTimeout', 'setInterval', 'clearInterval', 'structuredClone', 'queueMicrotask'];
const NODE = [...BOTH, 'process', 'Buffer', 'setImmediate', 'clearImmediate'];
const BROWSER = [...BOTH, 'window', 'document', 'location', 'history', 'navigator', 'sessionStorage', 'localStorage', 'alert',
  'confirm', 'Event', 'CustomEvent', 'FormData', 'HTMLElement', 'MutationObserver', 'getComputedStyle', 'requestAnimationFrame', 'Intl',
  'matchMedia', 'top', 'self', 'parent', 'innerHeight', 'innerWidth', 'scrollTo', 'XMLHttpRequest', 'DOMParser', 'Element',
  'Document', 'EventTarget', 'HTMLFormElement', 'Option', 'addEventListener'];

const RULES = {
  ...js.configs.recommended.rules,
  eqeqeq: ['error', 'always', { null: 'ignore' }],
  'no-var': 'error',
  'prefer-const': 'error',
  'no-unused-vars': ['error', { argsIgnorePattern: '^_', caughtErrors: 'all', ignoreRestSiblings: true }],
  'no-empty': ['error', { allowEmptyCatch: false }],
  // Bytes below 32 are what these tests are about.
  'no-control-regex': 'off',
  'no-implicit-globals': 'error',
  // Two blanks in a row are part of some log lines.
  'no-regex-spaces': 'off',
};

export default [
  { ignores: ['build/', 'dist/', 'node_modules/'] },
  {
    // Tests evaluate functions inside pages: those see a browser.
    files: ['tests/**/*.mjs', 'bench/**/*.mjs', '*.mjs'],
    languageOptions: { ecmaVersion: 2023, sourceType: 'module', globals: readable([...NODE, ...BROWSER]) },
    rules: RULES,
  },
  {
    files: ['script/[a-z]*'],
    languageOptions: { ecmaVersion: 2023, sourceType: 'commonjs', globals: readable([...NODE, '__dirname']) },
    rules: RULES,
  },
  {
    files: ['pages/script/*.js'],
    languageOptions: { ecmaVersion: 2020, sourceType: 'script', globals: readable(BROWSER) },
    // For every browser that is still about: no let, no catch without a name.
    rules: { ...RULES, 'no-var': 'off', 'prefer-const': 'off', 'no-unused-vars': ['error', { caughtErrors: 'none' }] },
  },
];
