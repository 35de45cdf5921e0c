// What the page knows of the document, read from its data; the bodies of objects a piece at a time.
const byId = id => document.getElementById(id);
const read = element => JSON.parse(element.textContent);
const dataOf = name => document.querySelectorAll(`script.${name}`);
const index = read(dataOf('index')[0]);
const pieces = [...dataOf('objects')];
const trailer = read(dataOf('trailer')[0]).text;
const bytesOf = dataOf('bytes').length ? read(dataOf('bytes')[0]) : {};
const UNUSED = 1, STREAM = 2, PROBLEM = 4, UNREADABLE = 8, DELETED = 16, VERSIONS = 32;
const count = number => number.toLocaleString('en');
const bytes = size => size < 1024 ? `${size} B` : size < 1048576 ? `${(size / 1024).toFixed(1)} KiB`
  : `${(size / 1048576).toFixed(1)} MiB`;

// An element; `attributes` may hold listeners as onNAME functions; null children are left out.
function el(tag, attributes, ...children) {
  const made = document.createElement(tag);
  for (const [key, value] of Object.entries(attributes || {})) {
    if (typeof value === 'function') made.addEventListener(key.slice(2), value);
    else if (value === true) made.setAttribute(key, '');
    else if (value !== false && value != null) made.setAttribute(key, value);
  }
  made.append(...children.flat().filter(child => child != null));
  return made;
}

const listOf = name => [...dataOf(name)].flatMap(read);
const objects = listOf('rows').map(([num, kind, filter, flags, revision, size, part, label]) =>
  ({num, kind, filter, flags, revision, size, part, label}));
const byNum = new Map(objects.map(object => [object.num, object]));
const parts = [], partData = listOf('parts');
for (let i = 0, start = 0; i < partData.length; i += 4) {
  const [end, num, kind, name] = partData.slice(i, i + 4);
  parts.push({start, end, num, kind, name: index.part_names[name]});
  start = end;
}
const pageOf = new Map();
for (const group of index.tree)
  if (group.name === 'Pages') group.items.forEach(([, num], i) => pageOf.set(num, i + 1));
const titleOf = object => pageOf.has(object.num) ? `Page ${pageOf.get(object.num)}` : object.label;

const recent = new Map();
function readPiece(i) {
  if (!recent.has(i)) {
    if (recent.size > 24) recent.delete(recent.keys().next().value);
    recent.set(i, new Map(read(pieces[i]).map(body => [body.n, body])));
  }
  return recent.get(i);
}
function bodyOf(num) {
  let low = 0, high = index.pieces.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (index.pieces[middle] <= num) low = middle + 1; else high = middle;
  }
  return low ? readPiece(low - 1).get(num) : undefined;
}
const currentOf = body => body.versions[body.versions.length - 1];
