// Draws the figures of curve.mjs: milliseconds a message against messages, both axes logarithmic, a line for each delay.
//
//   node bench/curve_picture.mjs docs/performance.json docs/performance.svg
import fs from 'node:fs';

const [from, to] = process.argv.slice(2);
const figures = JSON.parse(fs.readFileSync(from, 'utf8')).map((f) => ({ ...f, cost: f.seconds / f.count * 1000 }));
const WIDTH = 720, HEIGHT = 420, LEFT = 70, RIGHT = 125, TOP = 40, BOTTOM = 60;
const COLOURS = ['#1b6ca8', '#c0562f', '#3d7a3a', '#7a4a9e'];
const powers = (values) => [10 ** Math.floor(Math.log10(Math.min(...values))), 10 ** Math.ceil(Math.log10(Math.max(...values)))];
const counts = [...new Set(figures.map((f) => f.count))].sort((a, b) => a - b);
const [lowest, highest] = powers(figures.map((f) => f.cost));
const scale = (value, low, high, start, end) => start + (Math.log(value) - Math.log(low)) / (Math.log(high) - Math.log(low)) * (end - start);
const x = (count) => scale(count, counts[0], counts.at(-1), LEFT, WIDTH - RIGHT);
const y = (cost) => scale(cost, lowest, highest, HEIGHT - BOTTOM, TOP);
const text = (px, py, content, more = '') => `<text x="${px.toFixed(1)}" y="${py.toFixed(1)}" ${more}>${content}</text>`;
const line = (x1, y1, x2, y2) => `<line x1="${x1.toFixed(1)}" y1="${y1.toFixed(1)}" x2="${x2.toFixed(1)}" y2="${y2.toFixed(1)}" stroke="#cccccc"/>`;

const parts = [
  text(LEFT, 22, 'What a message costs in a filter run, by the size of the mailbox', 'font-weight="bold"'),
  text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 18, 'messages of 4 KB, all of them spam', 'text-anchor="middle"'),
  text(18, (TOP + HEIGHT - BOTTOM) / 2, 'milliseconds a message', `text-anchor="middle" transform="rotate(-90 18 ${(TOP + HEIGHT - BOTTOM) / 2})"`),
];
for (const count of counts) {
  parts.push(line(x(count), TOP, x(count), HEIGHT - BOTTOM), text(x(count), HEIGHT - BOTTOM + 18, count.toLocaleString('en'), 'text-anchor="middle"'));
}
for (let cost = lowest; cost <= highest * 1.001; cost *= 10) {
  parts.push(line(LEFT, y(cost), WIDTH - RIGHT, y(cost)), text(LEFT - 8, y(cost) + 4, String(Number(cost.toPrecision(1))), 'text-anchor="end"'));
}
[...new Set(figures.map((f) => f.delay))].forEach((delay, index) => {
  const points = figures.filter((f) => f.delay === delay);
  const colour = COLOURS[index % COLOURS.length];
  parts.push(`<polyline fill="none" stroke="${colour}" stroke-width="2" points="${points.map((f) => `${x(f.count).toFixed(1)},${y(f.cost).toFixed(1)}`).join(' ')}"/>`);
  for (const f of points) parts.push(`<circle cx="${x(f.count).toFixed(1)}" cy="${y(f.cost).toFixed(1)}" r="3" fill="${colour}"/>`);
  const last = points.at(-1);
  parts.push(text(x(last.count) + 8, y(last.cost) + 4, `${delay} ms each way`, `fill="${colour}"`));
});
fs.writeFileSync(to, `<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 ${WIDTH} ${HEIGHT}" font-family="sans-serif" font-size="12">
<rect width="${WIDTH}" height="${HEIGHT}" fill="#ffffff"/>
${parts.join('\n')}
</svg>
`);
