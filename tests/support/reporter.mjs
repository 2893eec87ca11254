// A reporter for node's test runner that writes one JSON line for each test (suites are not tests), for tests/run.mjs.

function describeError(error) {
  const cause = error?.cause ?? error;
  if (!(cause instanceof Error)) return String(cause?.stack ?? cause);
  return cause.stack ?? String(cause);
}

export default async function* reporter(events) {
  const path = [];
  for await (const { type, data } of events) {
    if (type === 'test:start') {
      path[data.nesting] = data.name;
      path.length = data.nesting + 1;
    }
    if (type !== 'test:pass' && type !== 'test:fail') continue;
    // A suite fails with its tests; it is worth a line of its own only if a hook of it failed.
    const suite = data.details?.type === 'suite';
    const ofItsTests = data.details?.error?.failureType === 'subtestsFailed';
    if (suite && (type === 'test:pass' || ofItsTests)) continue;
    const skipped = data.skip !== undefined || data.todo !== undefined;
    yield JSON.stringify({
      name: [...path.slice(0, data.nesting), data.name].join(' > '),
      ok: type === 'test:pass' && !skipped,
      text: type === 'test:fail' ? describeError(data.details?.error) : skipped ? 'skipped' : '',
      milliseconds: data.details?.duration_ms,
    }) + '\n';
  }
}
