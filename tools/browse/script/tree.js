// The tree from the trailer, with what makes up the document.
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
