// Two versions of an object side by side, with the lines marked that differ.
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
function versionCell(line, other, mark, draw) {
  if (line === null) return el('td');
  return line === other ? el('td', null, draw(line)) : el('td', {class: mark}, mark === 'gone' ? '− ' : '+ ', draw(line));
}
function differingRows(before, after, draw) {
  return differences(before.split('\n'), after.split('\n')).map(([a, b]) =>
    el('tr', null, versionCell(a, b, 'gone', draw), versionCell(b, a, 'fresh', draw)));
}
function versionsSection(body) {
  const all = [currentOf(body), ...body.versions.slice(0, -1)];
  const place = el('div');
  const picker = el('select', {'aria-label': 'Earlier version', onchange: draw},
    all.slice(1).map((version, i) => el('option', {value: i + 1}, `${saveOf(version)}, ${whereText(version)}`)));
  const isSyntax = (body.views || []).some(view => view.type === 'content' || view.type === 'cmap');
  function draw() {
    const before = all[Number(picker.value || 1)], after = all[0];
    const streams = version => version.stream ? `\nstream\n${version.stream}` : '';
    place.replaceChildren(el('table', {class: 'versions'},
      el('thead', null, el('tr', null, el('th', {scope: 'col'}, saveOf(before)), el('th', {scope: 'col'}, saveOf(after)))),
      el('tbody', null, differingRows(before.text, after.text, lineOf),
        before.stream || after.stream ? differingRows(streams(before), streams(after), isSyntax ? lineOf : line => [line]) : null)));
  }
  draw();
  return section('Earlier versions', picker,
    body.hidden > 0 ? el('p', {class: 'note'}, `${count(body.hidden)} older ones are not shown.`) : null, place);
}
