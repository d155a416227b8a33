'use strict';
(() => {
  const report = JSON.parse(document.getElementById('data').textContent);
  const list = (value) => value ?? [];

  // Every text of a device reaches the page as a text node and is never read as markup; control characters and direction marks are shown as
  // U+FFFD.
  function make(tag, properties, ...children) {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(properties ?? {})) {
      if (name === 'class') element.className = value;
      else if (name.startsWith('on')) element.addEventListener(name.slice(2), value);
      else element.setAttribute(name, value);
    }
    for (const child of children) if (child !== null && child !== undefined && child !== '') element.append(child);
    return element;
  }
  const shown = (text) => make('bdi', {}, String(text).replace(/[\u0000-\u001f\u007f-\u009f\u200e\u200f\u202a-\u202e\u2066-\u2069]/g, '\ufffd'));
  function draw(tag, attributes, ...children) {
    const element = document.createElementNS('http://www.w3.org/2000/svg', tag);
    for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
    element.append(...children);
    return element;
  }

  // Numbers: exact ones grouped by three, sizes in the decimal units that are printed on disks.
  const grouped = (digits) => /^-?\d{5,}$/.test(digits) ? String(digits).replace(/\B(?=(\d{3})+$)/g, ',') : String(digits);
  function bytes(count) {
    const units = ['B', 'kB', 'MB', 'GB', 'TB', 'PB', 'EB', 'ZB', 'YB'];
    let value = Number(count), unit = 0;
    while (value >= 999.5 && unit + 1 < units.length) { value /= 1000; ++unit; }
    return `${unit === 0 ? value : value.toPrecision(3).replace(/e\+?\d+/, '')} ${units[unit]}`;
  }
  const unitNames = { 'Cel': '\u00b0C', 'us': '\u00b5s', 'K': 'K' };
  const withUnit = (value, unit) => unit ? `${value} ${unitNames[unit] ?? '\u00d7 ' + unit}`.replace(/\u00d7 (%|h|min|s|ms|B|MiB|GB|MiB\/s|W|blocks)$/, '$1') : value;
  const words = (name) => name.replace(/\[(\d+)\]/g, ' $1 ').split('.').map((part) =>
    part.replace(/([a-z0-9])([A-Z])/g, '$1 $2').replace(/([A-Z]+)([A-Z][a-z])/g, '$1 $2')
        .replace(/\b[A-Z][a-z]+/g, (word, at) => at === 0 ? word : word.toLowerCase())).join(' \u203a ')
    .replace(/^./, (letter) => letter.toUpperCase());

  const health = list(report.health?.disk);
  const healthOf = new Map(health.map((disk) => [disk.number ?? 0, disk]));
  const diskOf = new Map(list(report.disk).map((disk) => [disk.number ?? 0, disk]));
  const numbers = [...new Set([...health.map((disk) => disk.number ?? 0), ...diskOf.keys()])];
  const titleOf = (number) => {
    const disk = healthOf.get(number);
    return [`DISK${number}`, disk?.model ?? ''].filter(Boolean).join(' ');
  };
  const counter = (disk, name) => list(disk?.counter).find((one) => one.name === name);
  const localTime = (text) => text ? new Date(text).toLocaleString(undefined, { dateStyle: 'medium', timeStyle: 'short' }) : '';

  function facts(target, pairs, tag = 'div') {
    for (const [name, value] of pairs) {
      if (value === '' || value === null || value === undefined) continue;
      const term = make('dt', {}, name), description = make('dd', {}, value);
      if (tag) target.append(make(tag, {}, term, description)); else target.append(term, description);
    }
    return target;
  }

  // The head: machine and findings.
  document.getElementById('host').append(shown(report.host ?? ''));
  facts(document.getElementById('machine'), [
    ['System', report.system && shown(report.system)], ['Read', localTime(report.time)],
    ['Compared with', localTime(report.baselineTime)],
    ['Identifiers', report.isRedacted ? 'replaced' : 'as read'], ['Disks', String(numbers.length)]]);
  document.getElementById('program').append(report.program ?? '');
  const findings = list(report.finding);
  if (findings.length > 0) {
    const section = document.getElementById('findings');
    section.hidden = false;
    section.querySelector('ul').append(...findings.map((one) =>
      make('li', {}, shown(one.text), one.remedy ? make('div', { class: 'remedy' }, shown(one.remedy)) : null)));
  }

  // One card a disk.
  function temperature(disk) {
    const now = counter(disk, 'temperature'), limit = counter(disk, 'warningTemperature');
    return now ? `${now.value} \u00b0C` + (limit ? ` (warning at ${limit.value} \u00b0C)` : '') : '';
  }
  function moved(disk, name) {
    const units = counter(disk, name);
    return units ? bytes(Number(units.value) * 512000) : '';
  }
  function reasonItem(reason) {
    const item = make('li', { class: reason.level }, shown(reason.text));
    if (reason.rise) item.append(' ', make('span', { class: 'rise' }, `+${grouped(reason.rise)} since ${localTime(reason.since)}`));
    if (reason.source) item.append(' ', make('span', { class: 'where' }, `(${reason.source})`));
    return item;
  }
  function card(disk) {
    const number = disk.number ?? 0, detail = diskOf.get(number);
    const changes = { NEW: 'new since the baseline', MOVED: 'was at another place', RESET: 'its counters began anew' };
    const used = counter(disk, 'percentageUsed'), hours = counter(disk, 'powerOnHours');
    return make('article', { class: `card ${disk.verdict}` },
      make('h3', {}, make('span', { class: 'verdict' }, disk.verdict), make('a', { href: `#disk-${number}` }, shown(titleOf(number)))),
      list(disk.reason).length ? make('ul', {}, ...disk.reason.map(reasonItem)) : null,
      facts(make('dl', {}), [
        ['Serial number', disk.serialNumber && shown(disk.serialNumber)], ['Letters', list(disk.letter).join(' ')],
        ['Kind', detail?.kind], ['Capacity', Number(detail?.bytes) > 0 ? bytes(detail.bytes) : ''],
        ['Used', used ? `${used.value} %` : ''], ['Temperature', temperature(disk)],
        ['Powered on', hours ? `${grouped(hours.value)} h` : ''], ['Data read', moved(disk, 'dataUnitsRead')],
        ['Data written', moved(disk, 'dataUnitsWritten')], ['Since the baseline', changes[disk.change] ?? '']], null));
  }
  const cards = document.getElementById('cards');
  if (health.length === 0) cards.append(make('p', {}, 'The system lists no disk.'));
  cards.append(...health.map(card));
  for (const gone of list(report.health?.gone)) {
    cards.append(make('article', { class: 'card UNKNOWN' },
      make('h3', {}, make('span', { class: 'verdict' }, 'GONE'), shown([gone.name, gone.model].filter(Boolean).join(' '))),
      make('p', {}, 'It was there at the baseline.')));
  }

  // A value with its explanation behind it.
  function copyButton(text) {
    return make('button', { class: 'copy', type: 'button', onclick: async (event) => {
      const button = event.currentTarget;
      try { await navigator.clipboard.writeText(text); button.textContent = 'copied'; }
      catch { button.textContent = 'copying is not allowed here'; }
    } }, 'copy');
  }
  function why(field) {
    const box = make('div', { class: 'why' });
    const line = (name, value, code) => { if (value) box.append(make('div', {}, `${name}: `, code ? make('code', {}, shown(value)) : shown(value))); };
    line('From', field.source); line('Raw', field.raw, true); line('Rule', field.rule); line('Missing', field.reason);
    if (field.value) box.append(make('div', {}, 'Exact: ', make('code', {}, shown(field.value)), ' ', copyButton(field.value)));
    return box;
  }
  const stateText = { EMPTY: '(empty)', ABSENT: 'absent', NOT_CARRIED: '' };
  function valueCell(field) {
    const state = field.state ?? 'SET';
    const text = state === 'SET' || state === 'NOT_CARRIED' && field.value ? withUnit(grouped(field.value ?? ''), field.unit) : stateText[state];
    const button = make('button', { class: state === 'SET' ? 'value' : 'value absent', type: 'button', 'aria-expanded': 'false' }, shown(text || field.raw || ''));
    const cell = make('td', {}, button);
    button.addEventListener('click', () => {
      const open = cell.querySelector('.why');
      if (open) open.remove(); else cell.append(why(field));
      button.setAttribute('aria-expanded', String(!open));
    });
    return cell;
  }
  function fieldTable(title, fields) {
    return make('div', { class: 'scroll' }, make('table', {}, make('caption', {}, title),
      make('thead', {}, make('tr', {}, make('th', { scope: 'col' }, 'Field'), make('th', { scope: 'col' }, 'Value'))),
      make('tbody', {}, ...fields.map((field) => make('tr', {}, make('th', { scope: 'row' }, words(field.field ?? '')), valueCell(field))))));
  }

  // SMART attributes: value, worst and threshold as a bar.
  function bar(value, threshold, label) {
    const scale = Math.max(100, value, threshold);
    return draw('svg', { class: 'bar', viewBox: `0 0 ${scale} 8`, preserveAspectRatio: 'none', role: 'img', 'aria-label': label },
      draw('rect', { class: 'track', width: scale, height: 8 }),
      draw('rect', { class: value <= threshold && threshold > 0 ? 'level bad' : 'level', width: value, height: 8 }),
      draw('rect', { class: 'limit', x: threshold, width: scale / 120, height: 8 }));
  }
  function smartTable(fields) {
    const rows = new Map();
    for (const field of fields) {
      const [, name, part] = /^(.+)\.(rawValue|normal|worst|threshold)$/.exec(field.field ?? '') ?? [];
      if (name) rows.set(name, { ...rows.get(name), [part]: field });
    }
    if (rows.size === 0) return null;
    const head = ['Attribute', 'Value', 'Worst', 'Threshold', 'Health', 'Raw'];
    return make('div', { class: 'scroll' }, make('table', {}, make('caption', {}, 'SMART attributes'),
      make('thead', {}, make('tr', {}, ...head.map((text) => make('th', { scope: 'col' }, text)))),
      make('tbody', {}, ...[...rows].map(([name, row]) => {
        const value = Number(row.normal?.value ?? NaN), threshold = Number(row.threshold?.value ?? 0);
        const failing = value <= threshold && threshold > 0;
        const missing = () => make('td', {}, '-');
        return make('tr', failing ? { class: 'failing' } : {}, make('th', { scope: 'row' }, words(name) + (failing ? ' (failing)' : '')),
          row.normal ? valueCell(row.normal) : missing(), row.worst ? valueCell(row.worst) : missing(),
          row.threshold ? valueCell(row.threshold) : missing(),
          make('td', {}, Number.isNaN(value) ? '-' : bar(value, threshold, `value ${value}, threshold ${threshold}`)),
          row.rawValue ? valueCell(row.rawValue) : missing());
      }))));
  }

  // Partitions to scale; what is narrower than a hair still shows.
  function partitionMap(disk) {
    const parts = list(disk?.partition), total = Number(disk?.bytes ?? 0);
    if (parts.length === 0 || total <= 0) return null;
    const describe = (part) => [part.kind === 'FREE' ? 'free' : part.name || `partition ${part.index}`, part.letter, bytes(part.length),
      part.isBoot && 'boot', part.hasPageFile && 'page file', part.hasCrashDump && 'crash dump'].filter(Boolean).join(', ');
    const smallest = total / 250;
    let at = 0;
    const widths = parts.map((part) => Math.max(Number(part.length), smallest));
    const sum = widths.reduce((left, right) => left + right, 0);
    const map = draw('svg', { class: 'map', viewBox: '0 0 1000 30', preserveAspectRatio: 'none', role: 'img', 'aria-label': 'Partitions, drawn to scale' });
    parts.forEach((part, index) => {
      const width = widths[index] / sum * 1000;
      const title = draw('title', {}); title.textContent = describe(part);
      map.append(draw('rect', { class: part.kind ?? 'OTHER', x: at, width, height: 30 }, title));
      at += width;
    });
    return make('div', {}, map, make('ul', { class: 'legend' }, ...parts.map((part) =>
      make('li', {}, make('span', { class: `swatch ${part.kind ?? 'OTHER'}` }), shown(describe(part))))));
  }

  const groups = [
    ['Identity', /^(pci|serial|model|firmwareRev|ieee|controllerId|controllerType|version|fru|nvmSubsystem)/],
    ['Thermal', /hermal|emperature/], ['Power', /power|rtd3|apst|keepAlive|PowerState/i],
    ['Limits', /max|min|number|size|time|limit|unit|capacity|entries|identifier/i], ['Features', /./]];
  function identifyTables(fields) {
    const rest = [...fields], tables = [];
    for (const [title, pattern] of groups) {
      const mine = rest.filter((field) => pattern.test(field.field ?? ''));
      for (const field of mine) rest.splice(rest.indexOf(field), 1);
      if (mine.length) tables.push(fieldTable(`Identify Controller: ${title}`, mine));
    }
    return tables;
  }
  const titles = { PhysicalDiskStaticInfo: 'Disk', PhysicalDiskDynamicInfo: 'Activity', SmartStaticInfo: 'SMART identity',
    SmartDynamicInfo: 'SMART', SmartNvmeInfo: 'NVMe health', NvmeIdentifyControllerData: 'Identify Controller' };
  const explanationsOf = (number) => list(report.explanation).filter((message) => (message.disk ?? 0) === number && message.disk !== undefined
    || message.disk === undefined && (message.name ?? '').startsWith(`DISK${number} `));

  function fill(body, number) {
    const map = partitionMap(diskOf.get(number));
    if (map) body.append(make('h3', {}, 'Partitions'), map);
    for (const message of explanationsOf(number)) {
      body.append(make('h3', {}, titles[message.datatype] ?? message.datatype));
      const fields = list(message.field);
      if (message.datatype === 'SmartDynamicInfo') {
        const table = smartTable(fields);
        const others = fields.filter((field) => !/\.(rawValue|normal|worst|threshold)$/.test(field.field ?? ''));
        body.append(...[table, others.length ? fieldTable('Other values', others) : null].filter(Boolean));
      } else if (message.datatype === 'NvmeIdentifyControllerData') {
        body.append(...identifyTables(fields));
      } else if (fields.length) {
        body.append(fieldTable(titles[message.datatype] ?? message.datatype, fields));
      }
    }
  }

  // Sections are filled when they are opened, so that a page of 128 disks appears at once.
  const sections = document.getElementById('disks');
  const filled = new Set();
  function section(number) { return document.getElementById(`disk-${number}`); }
  function ensure(number) {
    if (filled.has(number)) return;
    filled.add(number);
    fill(section(number).querySelector('.body'), number);
  }
  for (const number of numbers) {
    const verdict = healthOf.get(number)?.verdict ?? 'UNKNOWN';
    const details = make('details', { class: `disk ${verdict}`, id: `disk-${number}` },
      make('summary', {}, make('span', { class: 'verdict' }, verdict), ' ', shown(titleOf(number))), make('div', { class: 'body' }));
    details.addEventListener('toggle', () => { if (details.open) ensure(number); });
    sections.append(details);
  }
  function openTarget() {
    const target = location.hash.startsWith('#disk-') && document.getElementById(location.hash.slice(1));
    if (target) { target.open = true; target.querySelector('summary').focus(); }
  }
  window.addEventListener('hashchange', openTarget);
  window.addEventListener('beforeprint', () => numbers.forEach((number) => { ensure(number); section(number).open = true; }));
  openTarget();

  // Search over every value. The index is made at the first key.
  let index = null;
  function entries() {
    index ??= list(report.explanation).flatMap((message) => list(message.field).map((field) => ({ message, field,
      text: [message.name, message.datatype, field.field, words(field.field ?? ''), field.value, field.source].join(' ').toLowerCase() })));
    return index;
  }
  const results = document.getElementById('results'), matches = document.getElementById('matches');
  const most = 200;
  document.getElementById('query').addEventListener('input', (event) => {
    const terms = event.target.value.toLowerCase().split(/\s+/).filter(Boolean);
    results.replaceChildren();
    matches.textContent = '';
    if (terms.length === 0) return;
    const found = entries().filter((entry) => terms.every((term) => entry.text.includes(term)));
    matches.textContent = found.length === 0 ? 'No value matches.' : `${found.length} value${found.length === 1 ? '' : 's'}` +
      (found.length > most ? `, the first ${most} shown` : '');
    if (found.length === 0) return;
    results.append(make('div', { class: 'scroll' }, make('table', {}, make('thead', {}, make('tr', {},
      ...['Disk', 'Datatype', 'Field', 'Value'].map((text) => make('th', { scope: 'col' }, text)))),
      make('tbody', {}, ...found.slice(0, most).map(({ message, field }) => make('tr', {}, make('td', {}, shown(message.name ?? '')),
        make('td', {}, titles[message.datatype] ?? message.datatype), make('td', {}, words(field.field ?? '')), valueCell(field)))))));
  });
})();
