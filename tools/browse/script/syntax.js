// PDF syntax, coloured and with links. Whatever comes from the document reaches the page as text nodes, never as markup.
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
