// The object or the part of the file in the middle.
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
