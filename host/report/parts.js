// The elements of the page. Every text of a device becomes a text node and is never parsed as markup.

const list = (value) => value ?? [];

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
function draw(tag, attributes, ...children) {
  const element = document.createElementNS('http://www.w3.org/2000/svg', tag);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...children);
  return element;
}
// A text of a device, isolated so that its writing direction does not affect the text around it.
const shown = (text) => make('bdi', {}, visible(text));

function facts(pairs) {
  const target = make('dl', { class: 'facts' });
  for (const [name, value] of pairs) {
    if (value !== '' && value !== null && value !== undefined) target.append(make('div', {}, make('dt', {}, name), make('dd', {}, value)));
  }
  return target;
}

const announce = (text) => { document.getElementById('said').textContent = text; };
function copyButton(text) {
  return make('button', { class: 'copy', type: 'button', 'aria-label': `Copy ${visible(text)}`, onclick: async (event) => {
    const button = event.currentTarget;
    try { await navigator.clipboard.writeText(text); } catch {
      // A viewer that denies access to the clipboard may still support the older command.
      const area = button.parentNode.appendChild(make('textarea', { readonly: '' }));
      area.value = text; area.select(); document.execCommand('copy'); area.remove(); button.focus();
    }
    button.classList.add('done');
    announce(`Copied ${visible(text)}`);
    setTimeout(() => button.classList.remove('done'), 1500);
  } }, make('span', { 'aria-hidden': 'true' }, '\u29c9'));
}

function why(field) {
  const box = make('div', { class: 'why' });
  const line = (name, value, tag = 'span') => { if (value) box.append(make('div', {}, `${name}: `, make(tag, {}, shown(value)))); };
  line('Name', field.field, 'code'); line('From', field.source); line('Raw', field.raw, 'code'); line('Rule', field.rule);
  line('Missing', field.reason); line('Exact', reading(field).exact, 'code');
  return box;
}

const stateText = { EMPTY: 'empty', ABSENT: 'absent', NOT_CARRIED: 'no datatype carries it' };
// The real value of a counter that the message carries empty, from its bytes.
const lost = (field) => !/guid|globallyUnique/i.test(field.field ?? '') && field.state === 'EMPTY' && /^first byte 0/.test(field.rule ?? '') ? / = (\d+)$/.exec(field.raw ?? '')?.[1] : undefined;

// A value: a click shows its source; a button beside it copies it.
function value(field) {
  const isSet = (field.state ?? 'SET') === 'SET' || field.state === 'NOT_CARRIED' && field.value;
  const { text, exact } = isSet ? reading(field) : { text: stateText[field.state], exact: '' };
  const button = make('button', { class: isSet ? 'value' : 'value absent', type: 'button', 'aria-expanded': 'false' }, shown(text || 'empty'));
  if (lost(field) !== undefined) button.append(` (the disk says ${withUnit(lost(field), field.unit)})`);
  const box = make('div', { class: 'cell' }, button, exact ? copyButton(exact) : null);
  button.addEventListener('click', () => {
    const open = box.querySelector('.why');
    if (open) open.remove(); else box.append(why(field));
    button.setAttribute('aria-expanded', String(!open));
  });
  return box;
}
const valueCell = (field, properties) => field ? make('td', properties ?? {}, value(field)) : make('td', { class: 'absent' }, '\u2013');

// A table in a box that scrolls horizontally in a narrow window.
function table(caption, heads, rows, properties) {
  return make('div', { class: 'scroll' }, make('table', properties ?? {}, make('caption', {}, caption),
    make('thead', {}, make('tr', {}, ...heads.map((text) => make('th', { scope: 'col' }, text)))), make('tbody', {}, ...rows)));
}
const fieldRow = (field, from) => make('tr', {}, make('th', { scope: 'row' }, shown(inWords((field.field ?? '').slice(from)))), valueCell(field));

// Fields as a table, those of a sub-message under its name; absent fields are folded, with the reasons.
function fieldTable(title, fields) {
  const there = fields.filter((field) => field.state !== 'ABSENT'), absent = fields.filter((field) => field.state === 'ABSENT');
  const rowsOf = (some) => {
    const rows = [];
    let last = '';
    for (const field of some) {
      const path = field.field ?? '', end = path.lastIndexOf('.'), group = path.slice(0, Math.max(end, 0));
      if (group !== last && group !== '') rows.push(make('tr', { class: 'group' }, make('th', { colspan: '2', scope: 'rowgroup' }, inWords(group))));
      last = group;
      rows.push(fieldRow(field, group ? end + 1 : 0));
    }
    return rows;
  };
  const box = make('div', {});
  if (there.length) box.append(table(title, ['Field', 'Value'], rowsOf(there), { class: 'fields' }));
  if (absent.length) {
    box.append(make('details', { class: 'missing' },
      make('summary', {}, `${title}: ${absent.length} value${absent.length === 1 ? ' is' : 's are'} absent`),
      table(`${title}, absent`, ['Field', 'Value', 'Why'], absent.map((field) => {
        const row = fieldRow(field, 0);
        row.append(make('td', {}, shown(field.reason ?? '')));
        return row;
      }))));
  }
  return box;
}

// A level between 0 and `scale` with marks where its limits are.
function bar(level, scale, marks, isBad, label) {
  const at = (number) => Math.min(Math.max(number / scale, 0), 1) * 100;
  return draw('svg', { class: 'bar', viewBox: '0 0 100 8', preserveAspectRatio: 'none', role: 'img', 'aria-label': label },
    draw('rect', { class: 'track', width: 100, height: 8 }), draw('rect', { class: isBad ? 'level bad' : 'level', width: at(level), height: 8 }),
    ...marks.map((mark) => draw('rect', { class: 'limit', x: Math.min(at(mark), 99.2), width: 0.8, height: 8 })));
}
