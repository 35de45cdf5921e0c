// Search and filters choose what the list shows.
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
