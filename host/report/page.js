// The page itself: head, cards, search, sections.

const report = JSON.parse(document.getElementById('data').textContent);
const byId = (id) => document.getElementById(id);
const health = list(report.health?.disk);
const healthOf = new Map(health.map((disk) => [disk.number ?? 0, disk]));
const detailOf = new Map(list(report.disk).map((disk) => [disk.number ?? 0, disk]));
const messagesOf = Map.groupBy?.(list(report.explanation), (message) => message.disk) ?? list(report.explanation).reduce((map, message) =>
  map.set(message.disk, [...map.get(message.disk) ?? [], message]), new Map());
const numbers = [...new Set([...health.map((disk) => disk.number ?? 0), ...detailOf.keys()])];
const strays = list(messagesOf.get(undefined));  // messages of a disk that the inventory does not name
const verdicts = ['FAIL', 'WARN', 'UNKNOWN', 'OK', 'ASLEEP'];
const verdictOf = (disk) => verdicts.includes(disk?.verdict) ? disk.verdict : 'UNKNOWN';
const modelOf = (disk) => (disk?.model ?? '').trim() || (disk?.model ? `(${disk.model.length} blanks)` : '');
const titleOf = (number) => [`DISK${number}`, modelOf(healthOf.get(number))].filter(Boolean).join(' ');

// The head: the machine, and what was not read.
if (!report.isRedacted) {
  byId('host').append(shown(report.host ?? ''));
  document.title = `Storage report ${visible(report.host ?? '')}`;
}
const tally = verdicts.map((verdict) => [verdict, health.filter((disk) => verdictOf(disk) === verdict).length]).filter(([, count]) => count > 0);
byId('machine').append(facts([
  ['Disks', [numbers.length, tally.map(([verdict, count]) => `${count} ${verdict}`).join(', ')].filter(Boolean).join(': ')],
  ['System', report.system && shown(report.system)], ['Read', inUtc(report.time)], ['Compared with', inUtc(report.baselineTime)],
  ['Serial numbers and names', report.isRedacted ? 'replaced by numbers in brackets' : 'as read']]));
byId('program').append(report.program ?? '');
if (list(report.finding).length > 0) {
  byId('findings').hidden = false;
  // Findings with the same remedy are grouped; a large group is folded.
  const remedies = new Map();
  for (const one of report.finding) remedies.set(one.remedy, [...remedies.get(one.remedy) ?? [], make('div', {}, shown(one.text))]);
  byId('findings').querySelector('ul').append(...[...remedies].map(([remedy, texts]) => make('li', {}, ...texts.slice(0, 4),
    texts.length > 4 ? make('details', {}, make('summary', {}, `${texts.length - 4} more`), ...texts.slice(4)) : null,
    remedy ? make('div', { class: 'remedy' }, shown(remedy)) : null)));
}

// One card for each disk.
const counterOf = (disk, name) => list(disk?.counter).find((one) => one.name === name)?.value;
function temperature(disk) {
  const now = counterOf(disk, 'temperature'), warning = Number(counterOf(disk, 'warningTemperature'));
  if (now === undefined) return '';
  const field = list(messagesOf.get(disk.number ?? 0)).flatMap((one) => list(one.field)).find((one) => one.field === 'criticalCompositeTemperatureThreshold');
  const critical = Number(field?.value ?? 0) - 273, limits = [warning, critical].filter((limit) => limit > 0);
  const text = [`${now} \u00b0C`, warning > 0 && `warning at ${warning}`, critical > 0 && `critical at ${critical}`].filter(Boolean).join(', ');
  return make('div', {}, text, limits.length ? bar(Number(now), Math.max(100, ...limits), limits, Number(now) >= limits[0], text) : null);
}
function wear(disk) {
  const used = counterOf(disk, 'percentageUsed'), spare = counterOf(disk, 'availableSpare'), threshold = counterOf(disk, 'availableSpareThreshold');
  if (used !== undefined) {
    const text = `${used} % used` + (spare === undefined ? '' : `, spare ${spare} % (limit ${threshold ?? '?'} %)`);
    return make('div', {}, text, bar(Number(used), 100, [], Number(used) >= 100, `${used} % used`));
  }
  // Attributes in which makers report wear, shown as the remaining part.
  const id = [177, 173, 231, 233, 202].find((one) => counterOf(disk, `attribute.${one}.value`) !== undefined);
  return id ? `value ${counterOf(disk, `attribute.${id}.value`)} of attribute ${id}, falling from 100` : '';
}
const moved = (disk, name) => counterOf(disk, name) === undefined ? '' : inBytes(Number(counterOf(disk, name)) * 512000);
function reasonItem(reason) {
  const item = make('li', { class: ['FAIL', 'WARN', 'NOTICE'].includes(reason.level) ? reason.level : 'UNKNOWN' }, shown(reason.text));
  if (reason.rise) item.append(' ', make('span', { class: 'rise' }, `+${grouped(reason.rise)} since ${inUtc(reason.since)}`));
  if (reason.source) item.append(' ', make('span', { class: 'where' }, '(', shown(reason.source), ')'));
  return item;
}
const changes = { NEW: 'new', MOVED: 'was at another place', RESET: 'its counters began anew' };
// What rose since the baseline beside the reasons.
function rises(disk, detail) {
  if (changes[disk.change]) return changes[disk.change];
  const before = new Map(list(detail?.before).map((one) => [one.name, one.value]));
  const texts = [['powerOnHours', 'h'], ['dataUnitsRead', '512 kB', 'read'], ['dataUnitsWritten', '512 kB', 'written'], ['percentageUsed', '%', 'used'],
    ['unsafeShutdowns', '', 'unsafe shutdowns'], ['mediaErrors', '', 'media errors']].flatMap(([name, unit, what]) => {
    const now = counterOf(disk, name), was = before.get(name);
    if (!/^\d+$/.test(now ?? '') || !/^\d+$/.test(was ?? '') || BigInt(now) <= BigInt(was)) return [];
    const rise = String(BigInt(now) - BigInt(was));
    return [[unit === '512 kB' ? `+${inBytes(Number(rise) * 512000)}` : `+${grouped(rise)}${unit ? ` ${unit}` : ''}`, what].filter(Boolean).join(' ')];
  });
  return before.size ? texts.join(', ') || 'nothing rose' : '';
}
function card(disk) {
  const number = disk.number ?? 0, detail = detailOf.get(number), hours = counterOf(disk, 'powerOnHours'), verdict = verdictOf(disk);
  return make('article', { class: `card ${verdict}` },
    make('h3', {}, make('span', { class: 'verdict' }, verdict), make('a', { href: `#disk-${number}` }, shown(titleOf(number)))),
    list(disk.reason).length ? make('ul', {}, ...disk.reason.map(reasonItem)) : null,
    facts([['Last verdict', disk.lastTime && `${disk.lastVerdict}, ${inUtc(disk.lastTime)}`], ['Letters', list(disk.letter).join(' ')],
      ['Capacity', [Number(detail?.bytes) > 0 && inBytes(detail.bytes), detail?.kind].filter(Boolean).join(', ')],
      ['Wear', wear(disk)], ['Temperature', temperature(disk)], ['Powered on', hours === undefined ? '' : withUnit(hours, 'h')],
      ['Data read', moved(disk, 'dataUnitsRead')], ['Data written', moved(disk, 'dataUnitsWritten')], ['Since the baseline', rises(disk, detail)],
      ['Serial number', disk.serialNumber && shown(disk.serialNumber)], ['Firmware', disk.firmwareRevision && shown(disk.firmwareRevision)]]));
}
const cards = byId('cards');
if (health.length === 0) cards.append(make('p', {}, 'The system lists no disk.'));
cards.append(...health.map(card));
for (const gone of list(report.health?.gone)) {
  cards.append(make('article', { class: 'card UNKNOWN' },
    make('h3', {}, make('span', { class: 'verdict' }, 'GONE'), shown([gone.name, modelOf(gone)].filter(Boolean).join(' '))),
    make('p', {}, 'It was there at the baseline.'), facts([['Serial number', gone.serialNumber && shown(gone.serialNumber)]])));
}

// Sections are filled when they are opened, so that a page with 128 disks appears quickly.
const fills = new Map();
function addSection(id, verdict, title, fill) {
  const body = make('div', { class: 'body' });
  const details = make('details', { class: `disk ${verdict}`, id },
    make('summary', {}, make('h3', {}, verdict ? make('span', { class: 'verdict' }, verdict) : null, shown(title))), body);
  fills.set(details, () => { if (!body.hasChildNodes()) body.append(...fill().filter(Boolean)); });
  details.addEventListener('toggle', () => { if (details.open) fills.get(details)(); });
  byId('disks').append(details);
}
for (const number of numbers) {
  addSection(`disk-${number}`, verdictOf(healthOf.get(number)), titleOf(number),
    () => diskBody(detailOf.get(number), healthOf.get(number), list(messagesOf.get(number))));
}
if (strays.length > 0) addSection('disk-none', '', 'Items of no disk in the inventory', () => diskBody(undefined, undefined, strays));
byId('disks').hidden = fills.size === 0;
document.querySelector('.skip').hidden = fills.size === 0;

function openTarget() {
  const target = location.hash.startsWith('#disk-') && byId(location.hash.slice(1));
  if (target) { target.open = true; fills.get(target)(); target.querySelector('summary').focus(); target.scrollIntoView(); }
}
window.addEventListener('hashchange', openTarget);
cards.addEventListener('click', (event) => { if (event.target.closest('a')?.hash === location.hash) openTarget(); });
let opened = [];
window.addEventListener('beforeprint', () => {
  opened = [...document.querySelectorAll('details.disk:not([open])')];
  for (const details of opened) { fills.get(details)(); details.open = true; }
});
window.addEventListener('afterprint', () => opened.splice(0).forEach((details) => { details.open = false; }));
openTarget();

// Search over every value. The index is made at the first key.
let index = null;
function entries() {
  if (index) return index;
  const entry = (name, kind, number, field) => ({ name, kind, number, field,
    text: [name, kind, field.field, inWords(field.field ?? ''), field.value, reading(field).text, field.source].join(' ').toLowerCase() });
  index = list(report.explanation).flatMap((message) => list(message.field).map((field) => entry(message.disk === undefined ? message.itemId : titleOf(message.disk),
    datatypeTitles[message.datatype] ?? message.datatype, message.disk, field)));
  for (const disk of health) {
    const number = disk.number ?? 0, add = (field, value, unit) => value && index.push(entry(titleOf(number), 'Health', number, { field, value, unit }));
    add('serialNumber', disk.serialNumber); add('letters', list(disk.letter).join(' '));
    for (const one of list(disk.counter)) add(one.name, one.value, one.unit);
  }
  return index;
}
const results = byId('results'), matches = byId('matches'), most = 200;
function search(text) {
  const terms = text.toLowerCase().split(/\s+/).filter(Boolean);
  results.replaceChildren();
  matches.textContent = '';
  if (terms.length === 0) return;
  const found = entries().filter((entry) => terms.every((term) => entry.text.includes(term)));
  matches.textContent = found.length === 0 ? 'No value matches.'
    : `${grouped(String(found.length))} value${found.length === 1 ? '' : 's'}${found.length > most ? `, the first ${most} shown` : ''}`;
  if (found.length) {
    results.append(table('Values found', ['Disk', 'Part', 'Field', 'Value'], found.slice(0, most).map(({ name, kind, number, field }) => make('tr', {},
      make('td', {}, make('a', { href: `#disk-${number ?? 'none'}` }, shown(name))), make('td', {}, kind), make('td', {}, shown(inWords(field.field ?? ''))), valueCell(field)))));
  }
}
byId('query').addEventListener('input', (event) => search(event.target.value));
document.addEventListener('keydown', (event) => {
  if (event.key === '/' && !/^(INPUT|TEXTAREA)$/.test(event.target.tagName)) { event.preventDefault(); byId('query').focus(); }
});
