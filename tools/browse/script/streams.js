// What a stream holds, in one of several forms.
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
