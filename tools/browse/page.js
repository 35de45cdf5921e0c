// The page's behaviour. Whatever comes from the document reaches the page as text nodes, never as markup.
'use strict';
(() => {
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

// ---- the data of single objects, read a piece at a time ----
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

// ---- PDF syntax, coloured and with links ----
const TOKEN = new RegExp([
  /(?<comment>%.*)/, /(?<name>\/[^\s()<>[\]{}\/%]*)/, /(?<link>\d+ \d+ R(?!\w))/, /(?<string>\((?:[^\\()]|\\.)*\)|<[0-9A-Fa-f\s]*>)/,
  /(?<mark><<|>>|[[\]{}])/, /(?<number>[-+]?(?:\d+\.?\d*|\.\d+))/, /(?<operator>[A-Za-z'"][\w*'"]*)/, /[^]/,
].map(part => part.source).join('|'), 'g');
const VALUES = new Set(['true', 'false', 'null']);
function tokensOf(line) {
  const tokens = [];
  let plain = '';
  for (const match of line.matchAll(TOKEN)) {
    const kind = Object.keys(match.groups).find(key => match.groups[key] !== undefined);
    if (!kind || kind === 'mark') { plain += match[0]; continue; }
    if (plain) tokens.push(['', plain]);
    plain = '';
    tokens.push([kind, match[0]]);
  }
  if (plain) tokens.push(['', plain]);
  return tokens;
}
function linkTo(num, text) {
  const object = byNum.get(num);
  return el('a', {href: `#${num}`, 'data-label': object ? titleOf(object).slice(0, 60) : 'missing'}, text);
}
function lineOf(line) {
  return tokensOf(line).map(([kind, text]) => {
    if (kind === 'link') return linkTo(parseInt(text, 10), text);
    if (kind === 'operator' && VALUES.has(text)) return el('span', {class: 't-number'}, text);
    return kind ? el('span', {class: `t-${kind}`}, text) : text;
  });
}
// A block of lines, so many at a time.
function code(text, draw, label, wraps) {
  const lines = text.replace(/\n+$/, '').split('\n');
  const block = el('pre', {tabindex: 0, 'aria-label': label, class: wraps ? 'wrap' : null});
  const more = el('button', {type: 'button', onclick: add});
  let shown = 0;
  function add() {
    const end = Math.min(shown + 400, lines.length);
    for (; shown < end; ++shown) block.append(...draw(lines[shown]), '\n');
    more.hidden = shown === lines.length;
    more.textContent = `Show more (${count(lines.length - shown)} lines)`;
  }
  add();
  return [block, more];
}

// ---- views of a stream ----
const fromBase64 = text => Uint8Array.from(atob(text), c => c.charCodeAt(0));
function hexDump(data) {
  const lines = [];
  for (let at = 0; at < data.length; at += 16) {
    const row = [...data.subarray(at, at + 16)];
    const hex = row.map(byte => byte.toString(16).padStart(2, '0')).join(' ');
    const text = row.map(byte => byte > 31 && byte < 127 ? String.fromCharCode(byte) : '·').join('');
    lines.push(`${at.toString(16).padStart(8, '0')}  ${hex.padEnd(47)}  ${text}`);
  }
  return lines.join('\n');
}
function table(heads, rows) {
  return el('table', null, el('thead', null, el('tr', null, heads.map(head => el('th', {scope: 'col'}, head)))),
    el('tbody', null, rows.map(row => el('tr', null, row.map(cell => el('td', null, cell))))));
}
const ENTRY = {
  0: ([num, , next, gen]) => [`${num}`, 'free', `next free ${next}`, `${gen}`],
  1: ([num, , offset, gen]) => [linkTo(num, `${num}`), 'in the file', `offset ${count(offset)}`, `${gen}`],
  2: ([num, , stream, place]) => [linkTo(num, `${num}`), 'in an object stream', linkTo(stream, `${stream}`), `member ${place}`],
};
// What a map of characters says, code by code, as far as it says it one by one.
function mappings(text) {
  const rows = [];
  for (const [, block] of text.matchAll(/beginbfchar([^]*?)endbfchar/g))
    for (const [, code, units] of block.matchAll(/<([0-9A-Fa-f\s]+)>\s*<([0-9A-Fa-f\s]*)>/g))
      rows.push([code, String.fromCharCode(...(units.replace(/\s/g, '').match(/.{4}/g) || []).map(unit => parseInt(unit, 16)))]);
  return rows.slice(0, 400);
}
const glyphBox = (code, name, text) => el('div', null, el('b', null, text), el('small', null, code), name && el('small', null, name));
const VIEWS = {
  picture: ['Picture', view => el('figure', null,
    el('img', {src: `data:image/png;base64,${view.png}`, alt: `The picture, ${view.width} by ${view.height} pixels`}),
    el('figcaption', {class: 'note'}, `${count(view.width)} × ${count(view.height)} pixels`
      + (view.shrunk > 1 ? `, shown at 1/${view.shrunk} of its size` : '') + (view.whole ? '' : '; its data end early')))],
  content: ['Content', view => code(view.text, lineOf, 'Content')],
  cmap: ['Character map', view => [code(view.text, lineOf, 'Character map'),
    el('div', {class: 'glyphs'}, mappings(view.text).map(([from, to]) => glyphBox(from, '', to)))]],
  xml: ['XML', view => code(view.text.trim(), line => [line], 'XML', true)],
  text: ['Text', view => code(view.text, line => [line], 'Text', true)],
  entries: ['Entries', view => table(['object', 'where', 'place', 'generation'], view.rows.map(row => (ENTRY[row[1]] || (row =>
    row.map(String)))(row)))],
  members: ['Members', view => table(['member', 'object', 'offset'], view.rows.map(([num, offset], i) =>
    [`${i}`, linkTo(num, `${num}`), count(offset)]))],
  hex: ['Bytes', view => code(hexDump(fromBase64(view.bytes)), line => [line], 'Bytes')],
};
function streamSection(body) {
  const place = el('div');
  const buttons = body.views ? body.views.map((view, i) => el('button', {type: 'button', onclick: () => choose(i)}, VIEWS[view.type][0])) : [];
  function choose(i) {
    const view = body.views[i];
    buttons.forEach((button, at) => button.setAttribute('aria-pressed', at === i));
    place.replaceChildren(...[VIEWS[view.type][1](view)].flat(2),
      view.cut ? el('p', {class: 'note'}, 'Only the start is shown; the stream has more.') : '');
  }
  if (buttons.length) choose(0);
  else place.append(el('p', {class: 'note'}, 'The page has no room for what the stream holds; give it more with --most.'));
  return section('Stream', el('div', {class: 'tabs views', role: 'group', 'aria-label': 'Views of the stream'}, buttons), place);
}

// ---- versions side by side ----
function differences(before, after) {
  let start = 0, endA = before.length, endB = after.length;
  while (start < endA && start < endB && before[start] === after[start]) ++start;
  while (endA > start && endB > start && before[endA - 1] === after[endB - 1]) { --endA; --endB; }
  const rows = before.slice(0, start).map(line => [line, line]);
  const a = before.slice(start, endA), b = after.slice(start, endB);
  if (a.length * b.length > 4e6) rows.push(...a.map(line => [line, null]), ...b.map(line => [null, line]));
  else rows.push(...align(a, b));
  return rows.concat(before.slice(endA).map(line => [line, line]));
}
// The longest common run of lines decides which belong together.
function align(a, b) {
  const width = b.length + 1, best = new Uint16Array((a.length + 1) * width), rows = [];
  for (let i = a.length - 1; i >= 0; --i)
    for (let j = b.length - 1; j >= 0; --j)
      best[i * width + j] = a[i] === b[j] ? best[(i + 1) * width + j + 1] + 1
        : Math.max(best[(i + 1) * width + j], best[i * width + j + 1]);
  let i = 0, j = 0;
  while (i < a.length || j < b.length) {
    if (i < a.length && j < b.length && a[i] === b[j]) rows.push([a[i++], b[j++]]);
    else if (j >= b.length || (i < a.length && best[(i + 1) * width + j] >= best[i * width + j + 1])) rows.push([a[i++], null]);
    else rows.push([null, b[j++]]);
  }
  // A line that went and one that came in its place stand in one row.
  for (let at = 0; at + 1 < rows.length; ++at)
    if (rows[at][1] === null && rows[at + 1][0] === null) rows.splice(at, 2, [rows[at][0], rows[at + 1][1]]);
  return rows;
}
const saveOf = version => `save ${version.revision + 1} of ${index.revisions.length}`;
function versionsSection(body) {
  const all = [currentOf(body), ...body.versions.slice(0, -1)];
  const place = el('div');
  const picker = el('select', {'aria-label': 'Earlier version', onchange: draw},
    all.slice(1).map((version, i) => el('option', {value: i + 1}, `${saveOf(version)}, ${whereText(version)}`)));
  function draw() {
    const i = Number(picker.value || 1);
    const linesOf = version => (version.text + (version.stream ? `\nstream\n${version.stream}` : '')).split('\n');
    const rows = differences(linesOf(all[i]), linesOf(all[0]));
    const cell = (line, other, mark) => el('td', {class: line === other ? null : line === null ? null : mark},
      line === null ? '' : line === other ? lineOf(line) : [mark === 'gone' ? '− ' : '+ ', ...lineOf(line)]);
    place.replaceChildren(el('table', {class: 'versions'},
      el('thead', null, el('tr', null, el('th', {scope: 'col'}, saveOf(all[i])), el('th', {scope: 'col'}, saveOf(all[0])))),
      el('tbody', null, rows.map(([a, b]) => el('tr', null, cell(a, b, 'gone'), cell(b, a, 'fresh'))))));
  }
  draw();
  return section('Earlier versions', picker,
    body.hidden > 0 ? el('p', {class: 'note'}, `${count(body.hidden)} older ones are not shown.`) : null, place);
}

// ---- the object in the middle ----
const section = (name, ...children) => el('section', {'aria-label': name}, el('h3', null, name), ...children);
function whereText(version) {
  if (version.offset === undefined) return 'not where its entry says';
  return version.index < 0 ? `offset ${count(version.offset)}` : `member ${version.index} of object stream ${version.holder}`;
}
function whereNodes(version) {
  const size = version.size ? `, ${bytes(version.size)}${version.index < 0 ? '' : ' decoded'}` : '';
  if (version.offset === undefined || version.index < 0)
    return [whereText(version) + (version.offset === undefined ? '' : ` to ${count(version.end)}`) + size];
  return [`member ${version.index} of object stream `, linkTo(version.holder, `${version.holder}`), size];
}
function kindChip(kind) {
  const dot = el('span', {class: 'dot'});
  dot.style.background = index.kinds[kind][1];
  return el('span', {class: 'chip'}, dot, ` ${index.kinds[kind][0]}`);
}
function troublesOf(num) {
  return [...index.problems.filter(([of]) => of === num).map(([, what]) => what),
    ...index.repairs.filter(([of]) => of === num).map(([, what]) => `repaired: ${what}`)];
}
function objectView(num) {
  const object = byNum.get(num), body = bodyOf(num);
  if (!object || !body)
    return [el('h2', null, `Object ${num}`), el('p', null, object || index.left_out
      ? 'The page has no room for this object; give it more with --most.' : 'The file has no such object.')];
  const version = currentOf(body), flags = object.flags;
  const chip = (flag, text, bad) => flags & flag ? el('span', {class: bad ? 'chip bad' : 'chip'}, text) : null;
  return [
    el('div', {class: 'head'}, el('h2', null, `Object ${num}`), el('span', null, titleOf(object)), kindChip(object.kind),
      chip(UNUSED, 'nothing refers to it'), chip(DELETED, 'deleted, or replaced'), chip(UNREADABLE, 'cannot be read', true),
      chip(PROBLEM, 'problems', true)),
    el('ul', {class: 'links bad'}, troublesOf(num).map(text => el('li', null, text))),
    el('dl', null, el('dt', null, 'Where'), el('dd', null, whereNodes(version)),
      el('dt', null, 'Written by'), el('dd', null, saveOf(version)),
      flags & STREAM ? [el('dt', null, 'Stream'), el('dd', null, `${index.filters[object.filter] || 'no filter'}`
        + (body.stored > 0 ? `, ${bytes(body.stored)} stored` : ''))] : []),
    section('Value', ...code(version.text, lineOf, `Object ${num}`),
      version.cut ? el('p', {class: 'note'}, 'Only the start of the value is shown.') : null),
    flags & STREAM ? streamSection(body) : null,
    body.glyphs && body.glyphs.length ? section('Glyphs and their text',
      el('div', {class: 'glyphs'}, body.glyphs.map(([code, name, text]) => glyphBox(code, name, text)))) : null,
    body.versions.length > 1 ? versionsSection(body) : null,
    section('Referred to by', body.from.length ? el('ul', {class: 'links'}, body.from.map(from => el('li', null, linkTo(from, `${from}`))))
      : el('p', {class: 'note'}, flags & (UNUSED | DELETED) ? 'Nothing.'
        : index.has_all_references ? 'The trailer, or the structure of the file.' : 'Not known: the file has too many references.'),
      body.from_count > body.from.length ? el('p', {class: 'note'}, `and ${count(body.from_count - body.from.length)} more`) : null),
  ].filter(Boolean);
}
function partView(i) {
  const part = parts[i];
  return [el('div', {class: 'head'}, el('h2', null, part.name), kindChip(part.kind)),
    el('dl', null, el('dt', null, 'Where'), el('dd', null, `offset ${count(part.start)} to ${count(part.end)}, ${bytes(part.end - part.start)}`)),
    bytesOf[i] === undefined ? el('p', {class: 'note'}, 'Its bytes are not in this page.')
      : section('Bytes', ...(/[^\t\n\r -~]/.test(bytesOf[i])
        ? code(hexDump(Uint8Array.from(bytesOf[i], c => c.charCodeAt(0))), line => [line], 'Bytes')
        : code(bytesOf[i].replace(/\r\n?/g, '\n'), lineOf, 'Bytes')))];
}

// ---- where the page is: #12, #trailer, #part-3 ----
let selectedPart = -1;
function show() {
  const place = decodeURIComponent(location.hash.slice(1)) || 'trailer';
  if (place === 'view') { byId('view').focus(); return; }
  const num = /^\d+$/.test(place) ? Number(place) : 0;
  const at = /^part-(\d+)$/.exec(place);
  const part = at ? Number(at[1]) : -1;
  let nodes = [el('h2', null, 'Trailer'), section('Value', ...code(trailer, lineOf, 'Trailer'))];
  if (num) nodes = objectView(num);
  else if (parts[part]) nodes = partView(part);
  byId('view').replaceChildren(...nodes);
  byId('view').scrollTop = 0;
  // On a narrow screen the object is below the lists.
  if (location.hash && byId('view').getBoundingClientRect().top > innerHeight / 2) byId('view').scrollIntoView();
  document.title = `${byId('view').querySelector('h2').textContent}, ${index.file}`;
  selectedPart = num && byNum.has(num) ? byNum.get(num).part : part;
  drawMap();
  drawNear();
  selectInTree(place);
  list.select(num);
}
const go = place => { location.hash = `#${place}`; };
const goToPart = i => go(parts[i].num > 0 && byNum.has(parts[i].num) ? parts[i].num : `part-${i}`);

// ---- the map of the bytes ----
function drawMap() {
  const canvas = byId('strip'), scale = window.devicePixelRatio || 1;
  const width = canvas.clientWidth, height = canvas.clientHeight, perByte = width / Math.max(index.size, 1);
  canvas.width = width * scale;
  canvas.height = height * scale;
  const pen = canvas.getContext('2d');
  pen.scale(scale, scale);
  for (const part of parts) {
    pen.fillStyle = index.kinds[part.kind][1];
    pen.fillRect(part.start * perByte, 5, Math.max((part.end - part.start) * perByte, .05), height - 10);
  }
  const style = getComputedStyle(document.body);
  pen.fillStyle = style.color;
  for (const [, end] of index.revisions.slice(0, -1)) pen.fillRect(end * perByte - .5, 0, 1, height);
  const part = parts[selectedPart];
  canvas.setAttribute('aria-valuemax', index.size);
  canvas.setAttribute('aria-valuenow', part ? part.start : 0);
  canvas.setAttribute('aria-valuetext', part ? nameOfPart(part) : 'no part');
  if (!part) return;
  pen.strokeStyle = style.color;
  pen.lineWidth = 2;
  pen.strokeRect(part.start * perByte - 2, 1, Math.max((part.end - part.start) * perByte, 1) + 4, height - 2);
}
const nameOfPart = part => part.num > 0 ? `${part.num} ${byNum.has(part.num) ? titleOf(byNum.get(part.num)) : ''}` : part.name;
function drawNear() {
  const around = [];
  for (let i = selectedPart - 4; i <= selectedPart + 4; ++i) {
    const part = selectedPart >= 0 ? parts[i] : undefined;
    if (!part) continue;
    const dot = el('span', {class: 'dot'});
    dot.style.background = index.kinds[part.kind][1];
    around.push(el('button', {type: 'button', title: `${nameOfPart(part)}, ${bytes(part.end - part.start)}`,
      'aria-current': i === selectedPart ? 'true' : null, onclick: () => goToPart(i)}, dot, nameOfPart(part)));
  }
  byId('near').replaceChildren(...around);
}
function partAt(offset) {
  let low = 0, high = parts.length - 1;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (parts[middle].end <= offset) low = middle + 1; else high = middle;
  }
  return low;
}
byId('strip').addEventListener('click', event => {
  const box = byId('strip').getBoundingClientRect();
  goToPart(partAt((event.clientX - box.left) / box.width * index.size));
});
byId('strip').addEventListener('mousemove', event => {
  const part = parts[partAt(event.offsetX / byId('strip').clientWidth * index.size)];
  if (part) byId('strip').title = `${nameOfPart(part)}, ${index.kinds[part.kind][0].toLowerCase()}, offset ${count(part.start)}`;
});
byId('strip').addEventListener('keydown', event => {
  const step = {ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1}[event.key];
  if (!step) return;
  event.preventDefault();
  goToPart(Math.min(Math.max(selectedPart + step, 0), parts.length - 1));
});

// ---- the tree ----
// What a value refers to, each under its key.
function referencesOf(text) {
  const found = [];
  let key = '', place = 0;
  for (const line of text.split('\n'))
    for (const [kind, token] of tokensOf(line)) {
      if (kind === 'name') { key = token; place = 0; }
      else if (kind === 'link') found.push([`${key}${place ? ` [${place}]` : ''}`, parseInt(token, 10), place++]);
    }
  return found.map(([name, num]) => ({name, num, kids: () => kidsOf(num), note: byNum.has(num) ? titleOf(byNum.get(num)) : 'missing'}));
}
function kidsOf(num) {
  const body = bodyOf(num);
  return body ? inGroups(referencesOf(currentOf(body).text)) : [];
}
function inGroups(nodes) {
  if (nodes.length <= 200) return nodes;
  const groups = [], step = nodes.length > 20000 ? 1000 : 100;
  for (let i = 0; i < nodes.length; i += step)
    groups.push({name: `${i + 1} to ${Math.min(i + step, nodes.length)}`, kids: () => nodes.slice(i, i + step)});
  return groups;
}
// Items with a depth as nodes with kids.
function nested(items) {
  const top = [], open = [];
  for (const [name, num, depth] of items) {
    const below = [], node = {name: name || '(no name)', num, below};
    open.length = Math.min(open.length, depth);
    (open.length ? open[open.length - 1].below : top).push(node);
    open.push(node);
  }
  const finish = node => { if (node.below.length) node.kids = () => inGroups(node.below); node.below.forEach(finish); };
  top.forEach(finish);
  return top;
}
function treeItem(node, level) {
  const hasKids = node.kids && (level > 1 || node.kids().length > 0);
  const item = el('li', {role: 'treeitem', 'aria-level': level, tabindex: -1, 'aria-expanded': hasKids ? 'false' : null,
    'aria-selected': 'false', 'data-place': node.place || node.num || null},
  el('div', {class: 'row', onclick: () => activate(item)}, el('span', null, node.name), node.note ? el('span', {class: 'note'}, node.note) : null));
  item.node = node;
  item.level = level;
  return item;
}
function expand(item, open) {
  if (!item.hasAttribute('aria-expanded')) return;
  if (open && !item.querySelector('ul')) {
    const kids = item.node.kids().map(kid => treeItem(kid, item.level + 1));
    if (!kids.length) { item.removeAttribute('aria-expanded'); return; }
    item.append(el('ul', {role: 'group'}, kids));
  }
  item.setAttribute('aria-expanded', open);
  if (item.querySelector(':scope > ul')) item.querySelector(':scope > ul').hidden = !open;
}
function activate(item) {
  const place = item.dataset.place, isOpen = item.getAttribute('aria-expanded') === 'true';
  focusItem(item);
  if (!place || decodeURIComponent(location.hash.slice(1)) === place) expand(item, !isOpen);
  else { expand(item, true); go(place); }
}
function focusItem(item) {
  byId('tree').querySelectorAll('[tabindex="0"]').forEach(old => { old.tabIndex = -1; });
  item.tabIndex = 0;
  item.focus({preventScroll: false});
}
function selectInTree(place) {
  byId('tree').querySelectorAll('[aria-selected=true]').forEach(item => item.setAttribute('aria-selected', 'false'));
  for (const item of byId('tree').querySelectorAll(`[data-place="${CSS.escape(place)}"]`)) item.setAttribute('aria-selected', 'true');
}
const visibleItems = () => [...byId('tree').querySelectorAll('[role=treeitem]')].filter(item => !item.parentElement.closest('[hidden]'));
byId('tree').addEventListener('keydown', event => {
  const item = event.target.closest('[role=treeitem]');
  if (!item) return;
  const items = visibleItems(), at = items.indexOf(item), isOpen = item.getAttribute('aria-expanded') === 'true';
  const parent = item.parentElement.closest('[role=treeitem]');
  const actions = {
    ArrowDown: () => items[at + 1] && focusItem(items[at + 1]),
    ArrowUp: () => items[at - 1] && focusItem(items[at - 1]),
    ArrowRight: () => isOpen ? items[at + 1] && focusItem(items[at + 1]) : expand(item, true),
    ArrowLeft: () => isOpen ? expand(item, false) : parent && focusItem(parent),
    Home: () => focusItem(items[0]),
    End: () => focusItem(items[items.length - 1]),
    Enter: () => activate(item),
    ' ': () => activate(item),
  };
  if (!actions[event.key] || event.altKey || event.ctrlKey || event.metaKey) return;
  event.preventDefault();
  actions[event.key]();
});
function makeTree() {
  const groups = index.tree.map(group => ({name: group.name, note: count(group.items.length + (group.more || 0)),
    kids: () => inGroups(nested(group.items)).concat(group.more ? [{name: `and ${count(group.more)} more`}] : [])}));
  const top = [{name: 'Trailer', place: 'trailer', kids: () => referencesOf(trailer)}, ...groups].map(node => treeItem(node, 1));
  byId('tree').append(...top);
  top[0].tabIndex = 0;
  expand(top[0], true);
  if (top.length < 6 && top[1]) expand(top[1], index.tree[0].items.length < 30);
}

// ---- the list: only what is seen is drawn ----
const ROW = 28;
const list = {
  shown: objects,
  active: -1,
  draw() {
    const box = byId('list'), first = Math.max(Math.floor(box.scrollTop / ROW) - 5, 0);
    const last = Math.min(first + Math.ceil(box.clientHeight / ROW) + 10, list.shown.length);
    byId('rows').style.height = `${list.shown.length * ROW}px`;
    byId('rows').replaceChildren(...list.shown.slice(first, last).map((object, i) => list.row(object, first + i)));
    if (list.active >= first && list.active < last) box.setAttribute('aria-activedescendant', `row-${list.active}`);
    else box.removeAttribute('aria-activedescendant');
  },
  row(object, i) {
    const dot = el('span', {class: 'dot', title: index.kinds[object.kind][0]});
    dot.style.background = index.kinds[object.kind][1];
    const row = el('div', {class: 'object', id: `row-${i}`, role: 'option', 'aria-selected': String(i === list.active),
      'aria-posinset': i + 1, 'aria-setsize': list.shown.length, onclick: () => { list.active = i; go(object.num); }},
    el('span', {class: 'num'}, `${object.num}`), dot,
    el('span', {class: object.flags & (PROBLEM | UNREADABLE) ? 'what bad' : 'what'}, titleOf(object)),
    object.flags & VERSIONS ? el('span', {class: 'note', title: 'has earlier versions'}, '⟲') : null,
    el('span', {class: 'note'}, object.size ? bytes(object.size) : ''));
    row.style.top = `${i * ROW}px`;
    return row;
  },
  move(to) {
    if (!list.shown.length) return;
    list.active = Math.min(Math.max(to, 0), list.shown.length - 1);
    const box = byId('list'), top = list.active * ROW;
    if (top < box.scrollTop) box.scrollTop = top;
    else if (top + ROW > box.scrollTop + box.clientHeight) box.scrollTop = top + ROW - box.clientHeight;
    list.draw();
  },
  select(num) {
    const at = list.shown.findIndex(object => object.num === num);
    list.active = at;
    if (!byId('list').hidden && at >= 0) list.move(at);
    else list.draw();
  },
};
byId('list').addEventListener('scroll', list.draw);
byId('list').addEventListener('keydown', event => {
  const page = Math.max(Math.floor(byId('list').clientHeight / ROW) - 1, 1);
  const to = {ArrowDown: list.active + 1, ArrowUp: list.active - 1, PageDown: list.active + page, PageUp: list.active - page,
    Home: 0, End: list.shown.length - 1}[event.key];
  if (to === undefined && event.key !== 'Enter') return;
  if (event.altKey || event.ctrlKey || event.metaKey) return;
  event.preventDefault();
  if (event.key === 'Enter' && list.shown[list.active]) go(list.shown[list.active].num);
  else if (to !== undefined) list.move(to);
});
function chooseTab(name) {
  for (const tab of ['tree', 'list']) {
    byId(tab).hidden = tab !== name;
    byId(`${tab}-tab`).setAttribute('aria-selected', String(tab === name));
  }
  if (name === 'list') list.draw();
}

// ---- search and filters ----
let searching = 0;
const asWritten = text => JSON.stringify(text).slice(1, -1).replace(/[<>&]/g, c => `\\u00${c.charCodeAt(0).toString(16)}`).toLowerCase();
// The numbers of the objects whose values or streams hold `wanted`, a few pieces at a time, so that the page stays awake.
async function searchTexts(wanted, turn) {
  const found = new Set(), written = asWritten(wanted);
  for (let i = 0; i < pieces.length && turn === searching; ++i) {
    if (i % 16 === 15) await new Promise(done => setTimeout(done));
    if (!pieces[i].textContent.toLowerCase().includes(written)) continue;
    for (const body of read(pieces[i])) {
      const texts = [...body.versions, ...(body.views || [])].map(item => item.text || '');
      if (texts.some(text => text.toLowerCase().includes(wanted))) found.add(body.n);
    }
  }
  return found;
}
async function search() {
  const turn = ++searching, wanted = byId('search').value.trim().toLowerCase();
  const number = /^(\d+)(?: \d+ (?:r|obj))?$/.exec(wanted);
  const chosen = ['kind', 'filter', 'save'].map(id => byId(id).value);
  if (wanted) byId('count').textContent = 'searching';
  const texts = wanted ? await searchTexts(wanted, turn) : null;
  if (turn !== searching) return;
  list.shown = objects.filter(object =>
    (!texts || texts.has(object.num) || object.label.toLowerCase().includes(wanted) || (number && Number(number[1]) === object.num))
    && (chosen[0] === '' || object.kind === Number(chosen[0])) && (chosen[1] === '' || object.filter === Number(chosen[1]))
    && (chosen[2] === '' || object.revision === Number(chosen[2])) && (!byId('unused').checked || object.flags & UNUSED)
    && (!byId('troubled').checked || object.flags & (PROBLEM | UNREADABLE)));
  if (number) list.shown.sort((a, b) => (b.num === Number(number[1])) - (a.num === Number(number[1])));
  list.active = -1;
  byId('list').scrollTop = 0;
  byId('count').textContent = `${count(list.shown.length)} of ${count(objects.length)}`;
  list.draw();
}
function options(id, any, rows) {
  byId(id).append(el('option', {value: ''}, any), ...rows.map(([value, text]) => el('option', {value}, text)));
  byId(id).addEventListener('change', () => { chooseTab('list'); search(); });
}
function makeSearch() {
  const used = (key, all) => [...new Set(objects.map(object => object[key]))].sort((a, b) => a - b).map(value => [value, all(value)]);
  options('kind', 'Every kind', used('kind', kind => index.kinds[kind][0]));
  options('filter', 'Every filter', used('filter', filter => index.filters[filter] || 'no filter'));
  options('save', 'Every save', index.revisions.map((_, i) => [i, `Save ${i + 1}`]));
  for (const id of ['unused', 'troubled']) byId(id).addEventListener('change', () => { chooseTab('list'); search(); });
  let waiting = 0;
  byId('search').addEventListener('input', () => {
    clearTimeout(waiting);
    waiting = setTimeout(() => { chooseTab('list'); search(); }, 150);
  });
  byId('search').addEventListener('keydown', event => {
    if (event.key === 'ArrowDown') { event.preventDefault(); byId('list').focus(); list.move(0); }
    if (event.key === 'Enter' && list.shown.length) go(list.shown[0].num);
    if (event.key === 'Escape') { byId('search').value = ''; search(); byId('search').blur(); }
  });
}

// ---- problems and repairs ----
function makeTold() {
  const row = (num, text, part) => el('li', null, num ? linkTo(num, `Object ${num}`) : part >= 0
    ? el('a', {href: `#part-${part}`}, `Offset ${count(parts[part].start)}`) : 'Document', `: ${text}`);
  const rows = [...index.problems.map(([num, what]) => row(num, what, -1)),
    ...index.repairs.map(([num, what, offset]) => row(num, `repaired: ${what}`, offset && parts.length ? partAt(offset) : -1))];
  const both = [index.told ? `${count(index.told)} ${index.told === 1 ? 'problem' : 'problems'}` : 'No problems',
    index.repaired ? `${count(index.repaired)} repaired` : ''].filter(Boolean).join(', ');
  const [summary, place] = byId('told').children;
  summary.textContent = both + (index.left_out ? `; ${count(index.left_out)} objects have no room in this page` : '');
  summary.className = index.told ? 'bad' : '';
  place.append(...rows);
  byId('told').open = index.told > 0 && index.told < 6;
}

// ---- the start ----
byId('file').textContent = index.file;
byId('facts').textContent = index.told ? index.facts.replace(/, sound$/, '') : index.facts;
byId('count').textContent = `${count(objects.length)} objects`;
byId('back').addEventListener('click', () => history.back());
byId('forward').addEventListener('click', () => history.forward());
byId('theme').addEventListener('click', () => {
  const root = document.documentElement;
  const isDark = root.style.colorScheme ? root.style.colorScheme === 'dark' : matchMedia('(prefers-color-scheme: dark)').matches;
  root.style.colorScheme = isDark ? 'light' : 'dark';
  drawMap();
});
for (const tab of ['tree', 'list']) byId(`${tab}-tab`).addEventListener('click', () => chooseTab(tab));
document.addEventListener('keydown', event => {
  if (event.key !== '/' || event.target.closest('input, select') || event.ctrlKey || event.metaKey || event.altKey) return;
  event.preventDefault();
  byId('search').focus();
  byId('search').select();
});
window.addEventListener('hashchange', show);
window.addEventListener('resize', () => { drawMap(); list.draw(); });
makeTree();
makeSearch();
makeTold();
show();
})();
