// Opens the pages of `orbis-host report` in Chromium: what stands in them equals what `orbis-host collect` prints, keyboard, search, copying and
// printing work, no page says anything on the console or asks anything else, and axe-core finds nothing.
//
// usage: browser_test.mjs ORBIS_HOST MACHINES WORK   pictures of every page are left in WORK; packages are found in WORK/node_modules
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { existsSync, mkdirSync, readFileSync, statSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';
import { pathToFileURL } from 'node:url';

const [host, machines, work] = process.argv.slice(2).map((one) => path.resolve(one));
const require = createRequire(path.join(work, 'package.json'));
const { chromium } = require('playwright-core');
const axe = readFileSync(require.resolve('axe-core/axe.min.js'), 'utf8');
mkdirSync(work, { recursive: true });

// Machines beside the examples: texts that would break a page, and many disks.
const hostileTexts = ['<script>pwned=1</script>', '</script><img src=x onerror=pwned=1>', '\u202edrive\u2066 \u200fR', ' '.repeat(40), '\u{1F4BE}\u{1F9EA}',
  '\\377\\376\\200', "'\"&amp;<!--", '\u2028\u2029'];
const disk = (number, model, kind = 'NVME') => `disk { number: ${number} kind: ${kind} model: "${model}" serial: "S${number}N${number * 7919}" firmware: "F" `
  + `size: 512110190592 gpt { disk_id: "51f0a6be-0000-0000-0000-${String(number + 1).padStart(12, '0')}" partition { size: 107374182400 `
  + `id: "51f0a6be-0001-0000-0000-${String(number + 1).padStart(12, '0')}" name: "${number % 2 ? '<b>&' : 'data'}" } } }\n`;
const quoted = (text) => text.replace(/"/g, '\\"');
writeFileSync(path.join(work, 'texts.txtpb'), hostileTexts.map((text, at) => disk(at, quoted(text))).join(''));
writeFileSync(path.join(work, 'crowd.txtpb'), Array.from({ length: 128 }, (_, at) => disk(at, `Crowd ${at}`, at % 3 ? 'NVME' : 'SATA_SSD')).join(''));

const run = (args) => spawnSync(host, [...args, '--log-level', 'off'], { encoding: 'utf8', maxBuffer: 1 << 30 });
function reportOf(machine, name, options = []) {
  const file = path.join(work, `${name}.html`);
  const done = run(['report', '--machine', machine, '--output', file, ...options]);
  assert.ok([0, 1, 4].includes(done.status), `${name}: ${done.stderr}`);
  return file;
}

// Values as `collect` prints them: "DISK0 SmartNvmeInfo healthInfo.availableSpare" to the value as the page copies it.
function valuesOf(machine) {
  const items = JSON.parse(run(['collect', 'all', '--machine', machine, '--format', 'json']).stdout);
  const disks = new Map(items.filter((one) => /^DISK\d/.test(one.data?.name ?? '')).map((one) => [one.itemId, one.data.name]));
  const values = new Map();
  const walk = (prefix, data, name) => {
    if (Array.isArray(data) && typeof data[0] !== 'object') values.set(`${prefix} ${name}`, data.join(', '));
    else if (Array.isArray(data)) data.forEach((one, at) => walk(prefix, one, `${name}[${at}]`));
    else if (data !== null && typeof data === 'object') for (const [key, one] of Object.entries(data)) walk(prefix, one, name ? `${name}.${key}` : key);
    else values.set(`${prefix} ${name}`, String(data));
  };
  for (const item of items) if (item.data) walk(`${disks.get(item.itemId) ?? 'none'} ${item.datatype}`, item.data, '');
  return values;
}
const visible = (text) => text.replace(/[\p{Cc}\p{Cf}\p{Zl}\p{Zp}\p{Cs}]/gu, (one) => one === '\u200d' ? one : '\ufffd');
function isSame(printed, shown) {
  if (printed === shown || visible(printed) === shown) return true;
  if (printed !== '' && shown !== '' && Math.fround(Number(printed)) === Math.fround(Number(shown))) return true;
  if (printed === 'Infinity' && shown === 'inf') return true;
  if (/nan/i.test(printed) && /nan/i.test(shown)) return true;
  const bytes = Buffer.from(printed, 'base64');
  if (bytes.toString('base64') !== printed) return false;
  return shown === BigInt(`0x${Buffer.from(bytes).reverse().toString('hex') || '0'}`).toString()
    || shown === [...bytes].map((one) => one.toString(16).toUpperCase().padStart(2, '0')).join(' ');
}

const browser = await chromium.launch({ executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium', args: ['--no-sandbox'] });
const failures = [];
const check = (condition, text) => { if (!condition) failures.push(text); };

async function open(file, options = {}) {
  const context = await browser.newContext({ viewport: { width: 1280, height: 900 }, ...options });
  await context.grantPermissions(['clipboard-read', 'clipboard-write']);
  const page = await context.newPage(), name = path.basename(file, '.html');
  page.on('console', (message) => failures.push(`${name}: console: ${message.text()}`));
  page.on('pageerror', (error) => failures.push(`${name}: error: ${error.message}`));
  page.on('request', (request) => check(request.url() === pathToFileURL(file).href, `${name}: asks for ${request.url()}`));
  await page.goto(pathToFileURL(file).href);
  return page;
}
async function accessible(page, name) {
  await page.evaluate(axe);
  const { violations } = await page.evaluate(() => axe.run());
  for (const one of violations) failures.push(`${name}: axe: ${one.id}: ${one.nodes[0].html.slice(0, 150)} (${one.nodes.length})`);
}
// (waitForFunction evaluates text in the page, which its security policy forbids.)
async function until(page, condition) {
  for (let tries = 0; tries < 200; ++tries) {
    if (await page.evaluate(condition)) return;
    await page.waitForTimeout(25);
  }
  failures.push(`never: ${condition}`);
}
const openAll = (page) => page.evaluate(() => [...document.querySelectorAll('details')].forEach((one) => { one.open = true; }));

// Every printed value is in the page under its disk and datatype, and the page tells no other value there.
async function equals(page, name, values) {
  await openAll(page);
  await until(page, () => [...document.querySelectorAll('details.disk .body')].every((one) => one.hasChildNodes()));
  const shown = await page.evaluate(() => [...document.querySelectorAll('details.disk')].flatMap((section) => {
    const disk = /DISK\d+/.exec(section.querySelector('h3').textContent)?.[0] ?? 'none';
    let datatype = '';
    return [...section.querySelectorAll('h4, button.value')].flatMap((one) => {
      if (one.tagName === 'H4') { datatype = one.querySelector('small')?.textContent ?? ''; return []; }
      if (!datatype) return [];
      one.click();
      const [field, ...rest] = [...one.closest('.cell').querySelectorAll('.why code')].map((code) => code.textContent);
      const exact = [...one.closest('.cell').querySelectorAll('.why > div')].find((line) => line.textContent.startsWith('Exact: '))?.querySelector('code').textContent;
      one.click();
      return [[`${disk} ${datatype} ${field}`, exact, one.textContent]];
    });
  }));
  const found = new Map();
  for (const [key, exact, text] of shown) if (exact !== undefined) found.set(key, [...found.get(key) ?? [], exact, text]);
  let count = 0;
  for (const [key, value] of values) {
    if (value === '' || /powerStateDesc\[\d+\]\.maxPower$/.test(key)) continue;
    ++count;
    // What has no static description does not say its disk; the page may know it.
    const there = found.get(key) ?? [...found].filter(([one]) => key.startsWith('none ') && one.endsWith(key.slice(4))).flatMap(([, some]) => some);
    check(there.some((one) => isSame(value, one)), `${name}: ${key} is ${value}, in the page ${there}`);
  }
  for (const key of found.keys()) check(values.has(key) || values.has(key.replace(/^DISK\d+/, 'none')) || / (attribute|bytes?) \d/.test(key), `${name}: ${key} is in the page alone`);
  return count;
}

async function pictures(page, name) {
  for (const width of [360, 1280, 2560]) {
    await page.setViewportSize({ width, height: 900 });
    const over = await page.evaluate(() => document.documentElement.scrollWidth - window.innerWidth);
    check(over <= 0, `${name}: ${over} pixels too wide at ${width}`);
    await page.screenshot({ path: path.join(work, `${name}-${width}.png`) });
  }
  await page.setViewportSize({ width: 1280, height: 900 });
}

async function byKeyboard(page) {
  await page.keyboard.press('Tab');
  check(await page.evaluate(() => document.activeElement.className) === 'skip', 'the first stop is not the link to the disks');
  await page.keyboard.press('/');
  await page.keyboard.type('percentage used disk1');
  const row = page.locator('#results tbody tr').first();
  check(/^DISK1 .*Percentage used.*104 %/.test(await row.innerText().then((text) => text.replace(/\s+/g, ' '))), `search finds ${await row.innerText()}`);
  check(/^\d+ values?$/.test(await page.locator('#matches').innerText()), 'the number of matches is not told');
  await page.keyboard.press('Tab');  // the link of the first result
  await page.keyboard.press('Tab');  // its value
  await page.keyboard.press('Enter');
  check(await page.evaluate(() => document.activeElement.getAttribute('aria-expanded')) === 'true', 'Enter does not open an explanation');
  check(/NVMe log 02h byte 5/.test(await row.innerText()), 'the explanation does not say where the value comes from');
  await page.keyboard.press('Tab');
  await page.keyboard.press('Enter');
  await until(page, () => document.getElementById('said').textContent !== '');
  check(await page.evaluate(() => navigator.clipboard.readText()) === '104', 'Enter does not copy the exact value');
  await row.locator('a').focus();
  await page.keyboard.press('Enter');
  await until(page, () => document.activeElement.tagName === 'SUMMARY');
  check(await page.evaluate(() => document.querySelector('#disk-1').open), 'a link does not open its disk');
}

const machine = (name) => path.join(machines, `${name}.txtpb`);
const counts = [];
for (const name of ['workstation', 'laptop-arm64', 'hostile', 'empty']) {
  const page = await open(reportOf(machine(name), name, ['--with-identifiers']));
  await pictures(page, name);
  if (name === 'workstation') await byKeyboard(page);
  counts.push(await equals(page, name, valuesOf(machine(name))));
  await page.locator('button.value').first().click().catch(() => check(name === 'empty', `${name}: no value to click`));
  await accessible(page, name);
  await page.context().close();
}
check(counts[0] > 1000 && counts[3] === 0, `values compared: ${counts}`);

{  // In the dark, redacted, with a baseline of which one counter was lower; and on paper.
  const health = path.join(work, 'baseline.json');
  writeFileSync(health, run(['health', '--machine', machine('workstation'), '--format', 'json']).stdout.replace(/("name": "mediaErrors",\s*"value": )"12"/, '$1"7"'));
  const page = await open(reportOf(machine('workstation'), 'redacted', ['--baseline', health]), { colorScheme: 'dark' });
  const text = await page.locator('.card').first().innerText();
  check(/media errors 12.*\+5 since 17 May 2024/.test(text) && /\+5 media errors/.test(text), `the rise is not in ${text}`);
  check(!(await page.content()).includes('VV500X00000042') && /Serial number\s+\[\d+\]/.test(text), 'the serial number is told');
  await accessible(page, 'redacted, dark');
  await page.screenshot({ path: path.join(work, 'redacted-dark.png') });
  await page.pdf({ path: path.join(work, 'redacted.pdf'), format: 'A4' });
  check(await page.evaluate(() => [...document.querySelectorAll('details.disk .body')].every((one) => one.hasChildNodes())), 'printing leaves disks out');
  await page.emulateMedia({ media: 'print', colorScheme: 'light' });
  check(!await page.locator('#search').isVisible(), 'the search field is printed');
  await page.evaluate(() => window.dispatchEvent(new Event('beforeprint')));
  await page.setViewportSize({ width: 794, height: 1123 });
  await page.screenshot({ path: path.join(work, 'print.png') });
  await page.context().close();
}
{  // Texts stay texts.
  const page = await open(reportOf(path.join(work, 'texts.txtpb'), 'texts', ['--with-identifiers']));
  await openAll(page);
  await page.locator('#query').fill('model number');
  check(await page.evaluate(() => window.pwned) === undefined, 'a text was run');
  check(await page.locator('bdi *, img').count() === 0 && await page.locator('body script').count() === 2, 'a text became markup');
  check(!/[\u202a-\u202e\u2066-\u2069\u200e\u200f\u2028\u2029]/.test(await page.locator('main').innerText()), 'a direction mark is in the page');
  const titles = (await page.locator('.card h3 a').allInnerTexts()).join('\n');
  for (const text of ['<script>pwned=1</script>', '</script><img src=x onerror=pwned=1>', '\u{1F4BE}\u{1F9EA}', "'\"&amp;<!--"]) check(titles.includes(text), `${text} is not in ${titles}`);
  check(await page.locator('.card').count() === hostileTexts.length, 'not a card for each disk');
  await pictures(page, 'texts');
  await accessible(page, 'texts');
  await page.context().close();
}
{  // Many disks.
  const file = reportOf(path.join(work, 'crowd.txtpb'), 'crowd'), begun = Date.now();
  const page = await open(file);
  check(await page.locator('.card').count() === 128, 'not a card for each of 128 disks');
  const loaded = Date.now() - begun;
  const searched = await page.evaluate(() => {
    const query = document.getElementById('query'), start = performance.now();
    query.value = 'crowd 77 serial'; query.dispatchEvent(new Event('input'));
    return performance.now() - start;
  });
  console.log(`128 disks: ${(statSync(file).size / 1e6).toFixed(1)} MB, there after ${loaded} ms, first search ${Math.round(searched)} ms`);
  check(loaded < 10000 && searched < 3000, 'slow with 128 disks');
  check(await page.locator('#results tbody tr').count() > 0, 'nothing is found among 128 disks');
  await pictures(page, 'crowd');
  await page.context().close();
}
await browser.close();
console.log(failures.length ? failures.slice(0, 60).join('\n') : `${counts.reduce((left, right) => left + right, 0)} values equal; pictures in ${work}`);
process.exit(failures.length ? 1 : 0);
