// The list of all objects, of which only what is seen is drawn.
const ROW = 28;
const list = {
  shown: objects,
  active: -1,
  drawn: new Map(), // the rows in the page, by their places in the list
  // Draws everything anew.
  draw() {
    list.drawn.clear();
    byId('rows').replaceChildren();
    list.scroll();
  },
  // Rows that stay in sight stay in the page.
  scroll() {
    const box = byId('list'), first = Math.max(Math.floor(box.scrollTop / ROW) - 5, 0);
    const last = Math.min(first + Math.ceil(box.clientHeight / ROW) + 10, list.shown.length);
    byId('rows').style.height = `${list.shown.length * ROW}px`;
    for (const [i, row] of list.drawn) {
      if (i >= first && i < last) continue;
      row.remove();
      list.drawn.delete(i);
    }
    for (let i = first; i < last; ++i) {
      if (list.drawn.has(i)) continue;
      list.drawn.set(i, list.row(list.shown[i], i));
      byId('rows').append(list.drawn.get(i));
    }
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
    object.flags & (PROBLEM | UNREADABLE) ? el('span', {class: 'bad', title: 'has problems'}, '!') : null,
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
byId('list').addEventListener('scroll', list.scroll);
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
