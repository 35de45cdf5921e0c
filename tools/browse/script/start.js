// Where the page is (#12, #trailer, #part-3), the problems below, and what happens when it is opened.
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
