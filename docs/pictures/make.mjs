// Writes the pictures of README from what orbis-host really prints: terminals as SVG, the report's page as PNG.
//
// usage: make.mjs ORBIS_HOST WORK   packages are found in WORK/node_modules
import { execFileSync, spawnSync } from 'node:child_process';
import { writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';

const [host, work] = process.argv.slice(2).map((one) => path.resolve(one));
const here = path.dirname(fileURLToPath(import.meta.url)), machines = path.join(here, '..', '..', 'machines');
const { chromium } = createRequire(path.join(work, 'package.json'))('playwright-core');

const colours = { 31: '#ff8a8f', 32: '#7bd492', 33: '#f3b75a', 2: '#9aa3ad' };
const escaped = (text) => text.replace(/[&<>]/g, (one) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;' })[one]);

// The last screen of a program that runs on a terminal, line by line: texts with their column and style.
function screenOf(args, columns) {
  const command = `stty cols ${columns} rows 40; LC_ALL=C.UTF-8 TERM=xterm-256color '${host}' ${args}`;
  let output;
  try { output = execFileSync('script', ['-qec', command, '/dev/null'], { cwd: machines, encoding: 'utf8' }); } catch (error) {
    if (error.stdout === undefined || error.status === null) throw error;
    output = error.stdout;  // the exit status tells of the disks
  }
  const screen = output.slice(output.lastIndexOf('\x1b[H') + 1);
  return screen.trimEnd().split('\r\n').map((line) => {
    const runs = [];
    let column = 0, style = [];
    for (const part of line.replace(/^[^]*\r\x1b\[K/, '').split(/(\x1b\[[?\d;]*[A-Za-z])/)) {
      if (part.startsWith('\x1b')) {
        if (part.endsWith('m')) style = part.slice(2, -1).split(';').filter((one) => one !== '0' && one !== '');
        continue;
      }
      for (const piece of part.replace(/^\[H/, '').split(/( {2,})/)) {
        if (piece.trim()) runs.push({ column: column + piece.search(/\S/), text: piece.trim(), style });
        column += [...piece].length;
      }
    }
    return runs;
  }).filter((line, at, all) => line.length || at < all.length - 1);
}

function terminal(name, args, columns) {
  const lines = [[{ column: 0, text: `$ orbis-host ${args}`, style: ['2'] }], ...screenOf(args, columns)];
  const letter = 8.43, height = 20, margin = 16;
  const text = lines.flatMap((runs, row) => runs.map(({ column, text: words, style }) => {
    const fill = style.map((one) => colours[one]).find(Boolean);
    return `<text x="${(margin + column * letter).toFixed(1)}" y="${margin + (row + 1) * height - 5}" textLength="${([...words].length * letter).toFixed(1)}"`
      + `${fill ? ` fill="${fill}"` : ''}${style.includes('1') ? ' font-weight="bold"' : ''}>${escaped(words)}</text>`;
  }));
  const size = [Math.ceil(2 * margin + columns * letter), 2 * margin + lines.length * height];
  writeFileSync(path.join(here, name), `<svg xmlns="http://www.w3.org/2000/svg" width="${size[0]}" height="${size[1]}" viewBox="0 0 ${size.join(' ')}" `
    + `font-family="ui-monospace, 'Cascadia Mono', 'DejaVu Sans Mono', monospace" font-size="14" fill="#e8eaed">\n`
    + `<rect width="100%" height="100%" rx="8" fill="#14171b"/>\n${text.join('\n')}\n</svg>\n`);
}

terminal('health.svg', 'health --machine workstation.txtpb', 96);
terminal('live.svg', 'collect PhysicalDiskDynamicInfo --machine workstation.txtpb --watch 0.1 --count 30', 96);

const file = path.join(work, 'picture.html');
spawnSync(host, ['report', '--machine', path.join(machines, 'workstation.txtpb'), '--output', file, '--with-identifiers'], { stdio: 'inherit' });
const browser = await chromium.launch({ executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium', args: ['--no-sandbox'] });
const page = await browser.newPage({ viewport: { width: 1000, height: 790 } });
await page.goto(pathToFileURL(file).href);
await page.evaluate(() => { document.getElementById('disk-5').open = true; });
await page.waitForSelector('#disk-5 .map');
// The head with the cards, and what a section begins with.
await page.screenshot({ path: path.join(here, 'report.png') });
await page.locator('#disk-5').scrollIntoViewIfNeeded();
await page.evaluate(() => document.getElementById('disk-5').scrollIntoView());
await page.screenshot({ path: path.join(here, 'report-disk.png') });
await browser.close();
