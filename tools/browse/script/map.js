// The strip of the file's bytes, and the parts around the one that is shown.
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
