// ---- The tree

const tree = one('#tree');
let current = nodes[0], filter = '', drawn_rows = [];

// In lower case: what the filter looks into.
const label_text = (node) => node.label_text ||= `${node.name}\n${node.type}\n${node.summary}`.toLowerCase();
const value_text = (node) => node.value_text ??= [node.values || '', ...(node.details || [])].join('\n').toLowerCase();
const passes = (node) => label_text(node).includes(filter) || value_text(node).includes(filter);

// While a filter is set, a branch shows what was found below it until it is closed or opened: `picked` is then 'none' or
// 'all'. Found nodes without found ones below them begin closed.
const is_open = (node) => filter ? node.picked === 'all' || (!node.picked && node.found_below) : node.open;

function find_nodes() {
  for (const node of nodes) node.picked = node.found = node.found_below = undefined;
  if (!filter) return;
  for (const node of nodes) {
    if (!(node.found = passes(node))) continue;
    for (let up = node.up; up && !up.found_below; up = up.up) up.found_below = true;
  }
}

function shown_nodes() {
  let closed = Infinity;
  return nodes.filter((node) => {
    if (node.level > closed) return false;
    closed = Infinity;
    if (filter && !node.found && !node.found_below && node.up?.picked !== 'all') { closed = node.level; return !node.up; }
    if (!is_open(node)) closed = node.level;
    return true;
  });
}

// The summary, or the values around what was found in them.
function row_text(node) {
  if (!node.found || label_text(node).includes(filter)) return node.summary.slice(0, 200);
  const at = value_text(node).indexOf(filter), text = [node.values || '', ...(node.details || [])].join('\n');
  return (at > 20 ? '… ' : '') + text.slice(Math.max(0, at - 20), at + filter.length + 60) + ' …';
}

function tree_row(node) {
  return make('div', {
    class: 'row', role: 'treeitem', 'aria-level': node.level + 1, 'aria-selected': node === current,
    'aria-expanded': node.children.length ? is_open(node) : undefined, tabindex: node === current ? 0 : -1,
    style: `padding-left: ${.3 + Math.min(node.level, 30) * .9}rem`,
    onclick: (event) => { if (event.target.className === 'twist') turn(node, !is_open(node)); choose(node); },
  }, make('span', {class: 'twist', 'aria-hidden': 'true'}, node.children.length ? (is_open(node) ? '▾' : '▸') : ''), make('bdi', {}, node.name),
  make('span', {class: node.type.startsWith('<') ? 'type bad' : 'type'}, visible(node.type)),
  make('bdi', {class: 'soft'}, visible(row_text(node))));
}

// At most `max_rows` rows, among them that of the current node.
function draw_tree() {
  for (const node of drawn_rows) node.row = undefined;
  const shown = shown_nodes(), at = shown.indexOf(current);
  const first = at < max_rows ? 0 : Math.min(at - max_rows / 2, shown.length - max_rows), more = shown.length - first - max_rows;
  drawn_rows = shown.slice(first, first + max_rows);
  const note = (count, where) => count > 0 ? make('div', {class: 'row soft'}, `   ${number(count)} more rows ${where}: close some branches or filter`) : '';
  tree.replaceChildren(...[note(first, 'above'), ...drawn_rows.map((node) => node.row = tree_row(node)), note(more, 'below')].filter(Boolean));
}

function turn(node, open) {
  if (!node.children.length || is_open(node) === open) return;
  if (filter) node.picked = open ? 'all' : 'none';
  else node.open = open;
  const had_focus = tree.contains(document.activeElement);
  draw_tree();
  if (had_focus && node.row) node.row.focus();
}

// Opens the branches that hide the node.
function uncover(node) {
  for (let up = node.up; up; up = up.up) up.open = true;
  if (filter && !shown_nodes().includes(node)) { field.value = ''; filter_by(''); }
  if (!node.row) draw_tree();
}

function choose(node, focus = true) {
  const before = current;
  current = node;
  if (!node.row) uncover(node);
  for (const [changed, on] of [[before, false], [node, true]])
    if (changed.row) fill(changed.row, {'aria-selected': on, tabindex: on ? 0 : -1}, []);
  if (focus && node.row) node.row.focus();
  else if (node.row) node.row.scrollIntoView({block: 'nearest'});
  history.replaceState(null, '', '#' + encodeURIComponent(node.place));
  show(node);
}

const link_to = (node, text) => make('a', {href: '#' + encodeURIComponent(node.place), onclick: (event) => { event.preventDefault(); choose(node); }}, make('bdi', {}, visible(text)));

tree.onkeydown = (event) => {
  const rows = shown_nodes(), at = rows.indexOf(current);
  const steps = {ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: rows.length - 1, PageDown: at + 12, PageUp: at - 12};
  if (event.key in steps) choose(rows[Math.max(0, Math.min(rows.length - 1, steps[event.key]))]);
  else if (event.key === 'ArrowRight') is_open(current) || !current.children.length ? choose(current.children.find((child) => child.row) || current) : turn(current, true);
  else if (event.key === 'Enter' || event.key === ' ') turn(current, !is_open(current));
  else if (event.key === 'ArrowLeft') is_open(current) && current.children.length ? turn(current, false) : choose(current.up || current);
  else return;
  event.preventDefault();
};

const field = one('#filter');
function filter_by(text) {
  filter = text.trim().toLowerCase();
  find_nodes();
  draw_tree();
}
field.oninput = () => filter_by(field.value);
field.onkeydown = (event) => {
  const first = nodes.find((node) => node.found);
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

