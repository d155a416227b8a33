// Numbers, units and names for people. All functions take and return texts.

// Control characters, direction marks and other invisible characters are shown as U+FFFD; joiners of emoji are kept.
const visible = (text) => String(text).replace(/[\p{Cc}\p{Cf}\p{Zl}\p{Zp}\p{Cs}]/gu, (one) => one === '\u200d' ? one : '\ufffd');

// Digits in groups of three.
const grouped = (digits) => /^-?\d{4,}$/.test(digits) ? String(digits).replace(/\B(?=(\d{3})+$)/g, ',') : String(digits);

const rounded = (value) => Number(value.toPrecision(3)).toString();

// A number with the decimal unit that is printed on disks: "1.00 TB".
function inBytes(count) {
  const units = ['B', 'kB', 'MB', 'GB', 'TB', 'PB', 'EB', 'ZB', 'YB'];
  let value = Number(count), unit = 0;
  while (value >= 999.5 && unit + 1 < units.length) { value /= 1000; ++unit; }
  const text = unit === 0 ? String(value) : value >= 1000 ? value.toExponential(2) : value.toPrecision(3);
  return `${text} ${units[unit]}`;
}

// "426 days" instead of hours, when there are many.
function inDays(hours) {
  const days = Number(hours) / 24;
  return days >= 730 ? `${(days / 365.25).toFixed(1)} years` : `${Math.round(days)} days`;
}

// A count of a unit in a more familiar unit; empty when the unit itself is familiar.
const readings = {
  '512 kB': (value) => inBytes(Number(value) * 512000),
  '64 KiB': (value) => inBytes(Number(value) * 65536),
  '4 KiB': (value) => inBytes(Number(value) * 4096),
  'MiB': (value) => inBytes(Number(value) * 1048576),
  'B': (value) => Number(value) >= 1000 ? inBytes(value) : '',
  'GB': (value) => Number(value) >= 1000 ? inBytes(Number(value) * 1e9) : '',
  'K': (value) => Number(value) > 0 ? `${Number(value) - 273} \u00b0C` : '',
  'h': (value) => Number(value) >= 48 ? inDays(value) : '',
  'min': (value) => Number(value) >= 120 ? `${rounded(Number(value) / 60)} h` : '',
  '100 ms': (value) => `${rounded(Number(value) / 10)} s`,
  'us': (value) => Number(value) >= 1000 ? `${rounded(Number(value) / 1000)} ms` : '',
};
const unitNames = { Cel: '\u00b0C', us: '\u00b5s' };

// "81,234,567 × 512 kB (41.6 TB)"
function withUnit(value, unit) {
  const number = grouped(value);
  if (!unit || !/^-?[\d.]/.test(value)) return number;
  const reading = Number(value) === 0 ? '' : readings[unit]?.(value);
  return `${number} ${/^\d/.test(unit) ? '\u00d7 ' : ''}${unitNames[unit] ?? unit}${reading ? ` (${reading})` : ''}`;
}

// 16 bytes as one little-endian number: "87 8A D7 04 00 ..." is 81234567.
const isNumberInBytes = (text) => /^[0-9A-F]{2}( [0-9A-F]{2}){15}$/.test(text);
const numberInBytes = (text) => BigInt('0x' + text.split(' ').reverse().join('')).toString();

const hexadecimal = (value) => `0x${Number(value).toString(16).toUpperCase().padStart(4, '0')}`;

// "healthInfo.availableSpare" as "Available spare", each part by itself.
const shortForms = { Info: 'information', Mgmt: 'management', Cap: 'capabilities', Cfg: 'configuration', Desc: 'descriptor', Max: 'maximum',
  Min: 'minimum', Uncorrect: 'uncorrectable', Realloc: 'reallocated', Temp: 'temperature' };
const acronyms = /^(Nvme?|Nqn|Sgl|Rpmb|Lba|Ana|Uuid|Crc|Ecc|Ieee|Oui|Pci|Fru|Gb|Mb|Ms|Ssd|Vcc|Smart|Mi|Os|Io|Sq|Id|Apst|Eppid|Guid|Oem|Anagrpid)$/;
function partInWords(part) {
  const words = part.replace(/([a-z\d])([A-Z])/g, '$1 $2').replace(/([A-Z]+)([A-Z][a-z])/g, '$1 $2').replace(/([a-z])(\d)/g, '$1 $2').split(' ');
  return words.map((word, at) => {
    const capital = word[0].toUpperCase() + word.slice(1);
    if (acronyms.test(capital) || /^[A-Z\d]{2,}$/.test(word)) return word.toUpperCase();
    const long = shortForms[capital] ?? word.toLowerCase();
    return at === 0 ? long[0].toUpperCase() + long.slice(1) : long;
  }).join(' ');
}
// Display names of fields whose spelling is hard to read.
const names = { rtd3ResumeLatency: 'RTD3 resume latency', rtd3EntryLatency: 'RTD3 entry latency', byteReadPerSecInMB: 'Read per second', byteWritePerSecInMB: 'Written per second', avgDiskMSPerRead: 'Average time of a read',
  avgDiskMSPerWrite: 'Average time of a write', byteReadInMB: 'Read from the volume since it was mounted',
  byteWriteInMB: 'Written to the volume since it was mounted', namespaceMarketedSizeInGB: 'Marketed size', OEMType208SystemID: 'System identifier' };
const inWords = (path) => names[path] ?? path.split('.').map((part) => {
  const [, name, index] = /^(.*?)(?:\[(\d+)\])?$/.exec(part);
  return (name ? partInWords(name) : '') + (index === undefined ? '' : ` ${index}`);
}).join(' \u203a ');

// UTC, because the page may be read in another time zone.
const inUtc = (text) => text
  ? new Date(text).toLocaleString('en-GB', { timeZone: 'UTC', dateStyle: 'medium', timeStyle: 'short' }) + ' UTC' : '';

// A value for people and for programs.
function reading(field) {
  const value = field.value ?? '', unit = field.unit ?? '', path = field.field ?? '';
  if (isNumberInBytes(value) && !/guid|globallyUnique/i.test(path)) return { text: withUnit(numberInBytes(value), unit), exact: numberInBytes(value) };
  if (/^pci.*Id$/.test(path)) return { text: `${hexadecimal(value)} (${value})`, exact: value };
  if (value === 'true' || value === 'false') return { text: value === 'true' ? 'yes' : 'no', exact: value };
  if (unit === 'Cel' && /Kelvin/.test(field.rule ?? '') && / = 0$/.test(field.raw ?? '')) return { text: 'not reported', exact: value };
  if (value !== '' && value.trim() === '') return { text: `(${value.length} blank${value.length === 1 ? '' : 's'})`, exact: value };
  return { text: withUnit(value, unit), exact: value };
}
