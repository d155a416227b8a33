// The section of one disk.

const partitionKinds = { EFI: 'EFI system', RESERVED: 'reserved', RECOVERY: 'recovery', FREE: 'free', OTHER: 'other', DATA: 'data' };
// An entry without an identifier is called "Not Used", as every partition of an MBR is.
const partitionText = (part) => [part.kind === 'FREE' ? 'free' : part.name && part.name !== 'Not Used' ? part.name : part.index ? `partition ${part.index}` : 'a volume without partitions', part.letter, inBytes(part.length ?? 0),
  part.kind !== 'FREE' && part.kind !== 'DATA' && !new RegExp(partitionKinds[part.kind]?.split(' ')[0] ?? '$', 'i').test(part.name ?? '') && partitionKinds[part.kind],
  part.isBoot && 'boot', part.hasPageFile && 'page file', part.hasCrashDump && 'crash dump'].filter(Boolean).join(', ');

// Partitions to scale; very narrow ones stay visible.
function partitionMap(disk) {
  const parts = list(disk?.partition), total = Number(disk?.bytes ?? 0);
  if (parts.length === 0 || total <= 0) return null;
  const widths = parts.map((part) => Math.max(Number(part.length ?? 0), total / 250));
  const sum = widths.reduce((left, right) => left + right, 0);
  const map = draw('svg', { class: 'map', viewBox: '0 0 1000 30', preserveAspectRatio: 'none', role: 'img', 'aria-label': `Partitions of ${inBytes(total)}, drawn to scale` });
  let at = 0;
  parts.forEach((part, index) => {
    const width = widths[index] / sum * 1000, title = draw('title', {});
    title.textContent = visible(partitionText(part));
    map.append(draw('rect', { class: partitionKinds[part.kind] ? part.kind : 'OTHER', x: at, width, height: 30 }, title));
    at += width;
  });
  return make('div', {}, map, make('ul', { class: 'legend' }, ...parts.map((part) =>
    make('li', {}, make('span', { class: `swatch ${partitionKinds[part.kind] ? part.kind : 'OTHER'}` }), shown(partitionText(part))))));
}

// SMART attributes: value, worst and threshold, and a bar of them.
function smartRows(fields) {
  const rows = new Map();
  for (const field of fields) {
    const [, name, part] = /^(.+)\.(rawValue|normal|worst|threshold)$/.exec(field.field ?? '') ?? [];
    if (name) rows.set(name, { ...rows.get(name), [part]: field, id: Number(/attribute (\d+)/.exec(field.source ?? '')?.[1] ?? 0) });
  }
  for (const field of fields) {
    const [, id] = /^attribute (\d+)$/.exec(field.field ?? '') ?? [], [, level, worst] = /^value (\d+), worst (\d+)$/.exec(field.value ?? '') ?? [];
    if (id) rows.set(field.field, { id: Number(id), normal: { ...field, value: level }, worst: { ...field, value: worst }, rawValue: { ...field, value: '' } });
  }
  return [...rows].sort((left, right) => left[1].id - right[1].id);
}
function smartRow([name, row]) {
  const level = Number(row.normal?.value ?? NaN), worst = Number(row.worst?.value ?? NaN), threshold = Number(row.threshold?.value ?? 0);
  const isValue = level >= 1 && level <= 253;  // others are no normalised values (SFF-8035i)
  const failing = isValue && level <= threshold && threshold > 0, failed = !failing && worst >= 1 && worst <= threshold && threshold > 0;
  const note = failing ? 'failing' : failed ? 'failed before' : '';
  return make('tr', note ? { class: failing ? 'failing' : 'failed' } : {},
    make('td', { class: 'number' }, String(row.id || '')), make('th', { scope: 'row' }, inWords(name), note ? make('strong', {}, ` (${note})`) : null),
    valueCell(row.normal), valueCell(row.worst), valueCell(row.threshold),
    make('td', {}, isValue ? bar(level, Math.max(100, level, threshold), [threshold, worst].filter((mark) => mark > 0), failing,
      `value ${level}, worst ${worst}, threshold ${threshold}`) : '\u2013'), valueCell(row.rawValue));
}
function smart(fields) {
  const rows = smartRows(fields).filter(([, row]) => [row.rawValue, row.normal].some((field) => field && field.state !== 'ABSENT'));
  const others = fields.filter((field) => !/\.(rawValue|normal|worst|threshold)$|^attribute \d+$/.test(field.field ?? ''));
  return [rows.length ? table('SMART attributes; marks in a bar are threshold and worst value',
    ['No.', 'Attribute', 'Value', 'Worst', 'Threshold', 'Health', 'Raw'], rows.map(smartRow), { class: 'smart' })
    : make('p', {}, 'No SMART attribute was read.'), fieldTable('SMART', others)];
}

// The groups of Identify Controller. A field belongs to the first group that matches.
const groups = [
  ['Identity', /^(pci|serial|model|firmwareRevision|ieee|controllerId|controllerType|version|fru|nvmSubsystem|customized|deviceCategory|numberOfNamespaces|totalNvm|unallocated)/],
  ['Thermal', /hermal|emperature/], ['Power', /^(rtd3|autoPower|numberOfPower|powerState)|PowerState/i],
  ['Limits', /^[^.]*$|QueueEntrySize/], ['Features', /./]];
function powerStates(fields) {
  const states = [];
  for (const field of fields) {
    const [, index, name] = /^powerStateDesc\[(\d+)\]\.(\w+)$/.exec(field.field ?? '') ?? [];
    if (name) (states[index] ??= {})[name] = field;
  }
  if (states.length === 0) return null;
  // Max Power counts hundredths or ten-thousandths of a watt (NVMe 1.4, figure 248).
  const watts = (state) => state.maxPower && { ...state.maxPower, value: String(Number(state.maxPower.value) / (state.maxPowerScale?.value === 'true' ? 10000 : 100)), unit: 'W' };
  return make('div', {}, table('Power states', ['State', 'At most', 'Works', 'Entry', 'Exit', 'Idle power', 'Active power'], states.map((state, index) =>
    make('tr', {}, make('th', { scope: 'row' }, String(index)), valueCell(watts(state)),
      valueCell(state.nonOperationalState && { ...state.nonOperationalState, value: String(state.nonOperationalState.value !== 'true') }),
      valueCell(state.entryLatency), valueCell(state.exitLatency), valueCell(state.idlePower), valueCell(state.activePower))), { class: 'states' }),
  make('details', { class: 'missing' }, make('summary', {}, 'Power states, every field'),
    table('Power states, every field', ['Field', 'Value'], fields.filter((field) => /^powerStateDesc\[/.test(field.field ?? '')).map((field) => fieldRow(field, 0)))));
}
function identify(fields) {
  const rest = fields.filter((field) => !/^powerStateDesc\[|^bytes? \d/.test(field.field ?? ''));
  const others = fields.filter((field) => /^bytes? \d/.test(field.field ?? ''));
  const boxes = [];
  for (const [title, pattern] of groups) {
    const mine = rest.filter((field) => pattern.test(field.field ?? ''));
    for (const field of mine) rest.splice(rest.indexOf(field), 1);
    const states = title === 'Power' ? powerStates(fields) : null;
    if (mine.length || states) boxes.push(make('div', {}, make('h5', {}, title), mine.length ? fieldTable(title, mine) : null, states));
  }
  if (others.length) boxes.push(make('div', {}, make('h5', {}, 'Other bytes'), fieldTable('Other bytes', others)));
  return [make('div', { class: 'parts' }, ...boxes)];
}

// Percentages with their bars, then the other fields; the fields that repeat them for old hosts are last.
function activity(fields) {
  const shares = fields.filter((field) => /^(idle|read|write)TimePercentage$/.test(field.field ?? '') && field.value);
  return [make('div', { class: 'shares' }, ...shares.map((field) => make('div', {}, `${inWords(field.field.replace('Percentage', ''))} ${rounded(Number(field.value))} %`,
    bar(Number(field.value), 100, [], false, `${field.value} percent`)))),
  fieldTable('Activity', fields.filter((field) => !/^OBSOLETE/.test(field.field ?? ''))),
  make('details', { class: 'missing' }, make('summary', {}, 'The same for hosts that expect whole numbers'),
    fieldTable('Whole numbers', fields.filter((field) => /^OBSOLETE/.test(field.field ?? ''))))];
}

function partitionsAndDisk(fields) {
  const of = (pattern) => fields.filter((field) => pattern.test(field.field ?? '')), count = new Set(of(/^partitions\[/).map((field) => /\d+/.exec(field.field)[0])).size;
  return [fieldTable('Disk', fields.filter((field) => !/^partitions\[/.test(field.field ?? ''))),
    count ? make('details', { class: 'missing' }, make('summary', {}, `Every field of ${count} partition${count === 1 ? '' : 's'}`),
      fieldTable('Partitions', of(/^partitions\[/))) : null];
}

const datatypeTitles = { PhysicalDiskDynamicInfo: 'Activity', SmartDynamicInfo: 'SMART', SmartNvmeInfo: 'NVMe health',
  NvmeIdentifyControllerData: 'Identify Controller', PhysicalDiskStaticInfo: 'Disk', SmartStaticInfo: 'SMART identity' };
const order = Object.keys(datatypeTitles);
const bodies = { PhysicalDiskDynamicInfo: activity, SmartDynamicInfo: smart, NvmeIdentifyControllerData: identify, PhysicalDiskStaticInfo: partitionsAndDisk };

// Exact counters of the disk, including those that no datatype carries, with their values at the baseline.
function counters(health, detail) {
  const before = new Map(list(detail?.before).map((one) => [one.name, one.value]));
  const whole = (text) => /^\d+$/.test(text ?? '');
  const rows = list(health?.counter).map((one) => {
    const was = before.get(one.name), rise = whole(was) && whole(one.value) ? BigInt(one.value) - BigInt(was) : 0n;
    const row = make('tr', {}, make('th', { scope: 'row' }, inWords(one.name.replace(/^attribute\.(\d+)\.(\w+)$/, 'attribute$1.$2'))),
      valueCell({ field: one.name, value: one.value, unit: one.unit }));
    if (before.size) row.append(make('td', {}, was === undefined ? '\u2013' : withUnit(was, one.unit)), make('td', {}, rise > 0n ? `+${withUnit(String(rise), one.unit)}` : rise < 0n ? 'fell' : ''));
    return row;
  });
  return rows.length ? table('Exact counts', ['Count', 'Now', ...before.size ? ['At the baseline', 'Rose by'] : []], rows) : null;
}

function requests(messages) {
  const rows = messages.flatMap((message) => list(message.request).map((one) => [`${one.request} ${one.outcome}`, one]));
  return [...new Map(rows).values()].map((one) => make('tr', {}, make('th', { scope: 'row' }, shown(one.request ?? '')),
    make('td', {}, shown(one.outcome ?? '')), make('td', { class: 'number' }, `${(one.milliseconds ?? 0).toFixed(3)} ms`)));
}

// Everything that is known of one disk: its partitions, its messages, its counters, and the requests.
function diskBody(detail, health, messages) {
  const boxes = [], map = partitionMap(detail);
  if (map) boxes.push(make('h4', {}, 'Partitions'), map);
  const sorted = messages.filter((one) => !one.reason).sort((left, right) => order.indexOf(left.datatype) - order.indexOf(right.datatype));
  for (const message of sorted) {
    const body = bodies[message.datatype] ?? ((fields) => [fieldTable(datatypeTitles[message.datatype] ?? message.datatype, fields)]);
    boxes.push(make('h4', {}, datatypeTitles[message.datatype] ?? message.datatype, ' ', make('small', {}, message.datatype)), ...body(list(message.field)));
  }
  const counts = counters(health, detail), asked = requests(messages);
  if (counts) boxes.push(make('h4', {}, 'Exact counts'), counts);
  const unsent = messages.filter((one) => one.reason);
  if (unsent.length) {
    boxes.push(make('h4', {}, 'What was not sent, and why'), make('ul', {}, ...unsent.map((one) =>
      make('li', {}, `${datatypeTitles[one.datatype] ?? one.datatype} (${one.datatype}): `, shown(one.reason)))));
  }
  if (asked.length) boxes.push(make('h4', {}, 'What was asked'), table('Requests to this disk', ['Request', 'Answer', 'Time'], asked));
  if (boxes.length === 0) boxes.push(make('p', {}, 'Nothing was read from this disk.'));
  return boxes;
}
