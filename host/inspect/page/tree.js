// ---- The tree

const tree = one('#tree');
let current = nodes[0], filter = '';

const passes = (node) => `${node.name}\n${node.type}\n${node.summary}`.toLowerCase().includes(filter);

function shown_nodes() {
  if (filter) {
    const shown = new Set();
    for (const node of nodes)
      if (passes(node))
        for (let up = node; up && !shown.has(up); up = up.up) shown.add(up);
    return nodes.filter((node) => shown.has(node));
  }
  let closed = Infinity;
  return nodes.filter((node) => {
    if (node.level > closed) return false;
    closed = node.open ? Infinity : node.level;
    return true;
  });
}

function draw_tree() {
  const shown = shown_nodes(), more = shown.length - max_rows;
  tree.replaceChildren(...shown.slice(0, max_rows).map((node) => {
    const twist = node.children.length ? (node.open || filter ? '▾' : '▸') : '';
    node.row = make('div', {
      class: 'row', role: 'treeitem', 'aria-level': node.level + 1, 'aria-selected': node === current,
      'aria-expanded': node.children.length ? node.open : undefined, tabindex: node === current ? 0 : -1,
      style: `padding-left: ${.3 + Math.min(node.level, 30) * .9}rem`,
      onclick: (event) => { if (event.target.className === 'twist') turn(node, !node.open); choose(node); },
    }, make('span', {class: 'twist', 'aria-hidden': 'true'}, twist), make('bdi', {}, node.name),
    make('span', {class: node.type.startsWith('<') ? 'type bad' : 'type'}, visible(node.type)),
    make('bdi', {class: 'soft'}, visible(node.summary.slice(0, 200))));
    return node.row;
  }));
  if (more > 0) tree.append(make('div', {class: 'row soft'}, `   ${number(more)} more rows: close some branches or filter`));
}

function turn(node, open) {
  if (!node.children.length || node.open === open) return;
  node.open = open;
  const had_focus = tree.contains(document.activeElement);
  draw_tree();
  if (had_focus && node.row) node.row.focus();
}

function choose(node, focus = true) {
  let hidden = false;
  for (let up = node.up; up; up = up.up) { hidden ||= !up.open; up.open = true; }
  const before = current;
  current = node;
  if (hidden) draw_tree();
  for (const [changed, on] of [[before, false], [node, true]])
    if (changed.row) fill(changed.row, {'aria-selected': on, tabindex: on ? 0 : -1}, []);
  if (focus && node.row) node.row.focus();
  history.replaceState(null, '', '#' + encodeURIComponent(node.place));
  show(node);
}

tree.onkeydown = (event) => {
  const rows = shown_nodes(), at = rows.indexOf(current);
  const steps = {ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: rows.length - 1, PageDown: at + 12, PageUp: at - 12};
  if (event.key in steps) choose(rows[Math.max(0, Math.min(rows.length - 1, steps[event.key]))]);
  else if (event.key === 'ArrowRight') current.open || !current.children.length ? choose(current.children[0] || current) : turn(current, true);
  else if (event.key === 'Enter' || event.key === ' ') turn(current, !current.open);
  else if (event.key === 'ArrowLeft') current.open && current.children.length ? turn(current, false) : choose(current.up || current);
  else return;
  event.preventDefault();
};

const field = one('#filter');
function filter_by(text) {
  filter = text.trim().toLowerCase();
  draw_tree();
}
field.oninput = () => filter_by(field.value);
field.onkeydown = (event) => {
  const first = nodes.find(passes);
  if ((event.key === 'ArrowDown' || event.key === 'Enter') && first) { choose(first); event.preventDefault(); }
};
document.onkeydown = (event) => {
  if (event.key === '/' && document.activeElement !== field && !event.ctrlKey && !event.metaKey && !event.altKey) {
    field.focus();
    event.preventDefault();
  } else if (event.key === 'Escape' && (filter || document.activeElement === field)) {
    field.value = '';
    filter_by('');
    choose(current);
  }
};

