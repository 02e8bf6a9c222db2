// ---- Values and lines

// The minimum and maximum of the values in each column, so that no peak is lost.
function show_plot(values) {
  const finite = values.filter(Number.isFinite);
  if (values.length < 8 || !finite.length) return;
  const low = finite.reduce((a, b) => Math.min(a, b)), high = finite.reduce((a, b) => Math.max(a, b)), columns = Math.min(values.length, 1000);
  const y = (value) => (high === low ? 50 : 100 * (high / 2 - value / 2) / (high / 2 - low / 2)).toFixed(3);
  let path = '', command = 'M';
  for (let c = 0; c < columns; ++c) {
    const from = Math.floor(c * values.length / columns), part = values.slice(from, Math.floor((c + 1) * values.length / columns)).filter(Number.isFinite);
    if (!part.length) { command = 'M'; continue; }
    for (const value of new Set([part.reduce((a, b) => Math.min(a, b)), part.reduce((a, b) => Math.max(a, b))])) { path += `${command}${c} ${y(value)}`; command = 'L'; }
  }
  one('main').append(make('h3', {}, `Plot: ${short(low)} to ${short(high)}`), make('div', {class: 'scroll'},
    shape('svg', {class: 'plot', viewBox: `0 -3 ${columns - 1} 106`, preserveAspectRatio: 'none', role: 'img', 'aria-label': 'Plot of the values'}, shape('path', {d: path}))));
}

function show_values(node) {
  if (!node.values) return;
  show_plot(numbers_of(node));
  const most = 20000, text = make('pre', {tabindex: 0}, visible(node.values.slice(0, most)));
  one('main').append(make('h3', {}, node.total > 1 ? `${number(node.total)} values` : 'Value'), make('div', {class: 'scroll'}, text));
  if (node.rounded) one('main').append(make('p', {class: 'soft'}, 'Reals after the first 1000 have six digits: the library keeps no more of a file of this kind.'));
  if (node.values.length > most)
    one('main').append(make('button', {onclick: (event) => { text.textContent = visible(node.values); event.target.remove(); }}, 'Show everything'));
}

function show_lines(node) {
  if (!node.details || !node.details.length || node.drawings) return;
  const is_matrix = node.type === 'matrix';
  const cells = (line) => is_matrix ? line.replace(/^\[ | \]$/g, '').split('  ') : [line];
  one('main').append(make('h3', {}, is_matrix ? 'Matrix' : 'Details'), make('div', {class: 'scroll', tabindex: 0}, make('table', {}, ...node.details.map((line, row) =>
    make('tr', {}, make('th', {scope: 'row'}, String(row)), ...cells(line).map((cell) => make('td', {class: is_matrix ? 'number' : undefined}, visible(cell))))))));
}

// The children as a table.
function show_children(node) {
  if (!node.child_count) return;
  const most = 500, more = node.children.length - most, left_out = node.child_count - node.children.length;
  one('main').append(make('h3', {}, 'Content'), make('div', {class: 'scroll', tabindex: 0}, make('table', {}, ...node.children.slice(0, most).map((child) =>
    make('tr', {}, make('td', {}, link_to(child, child.name || '""')), make('td', {class: 'type'}, visible(child.type)), make('td', {class: 'soft'}, visible(child.summary.slice(0, 200)))))))
    , more > 0 ? make('p', {class: 'soft'}, `and ${number(more)} more in the tree`) : '',
    left_out > 0 ? make('p', {class: 'reason'}, `${number(left_out)} more are left out of this page`) : '');
}

function show(node) {
  Object.assign(document.body.dataset, {images: 0, regions: 0, lines: 0});
  one('main').replaceChildren(make('h2', {}, make('bdi', {}, node.name)),
    make('p', {}, make('span', {class: node.type.startsWith('<') ? 'type bad' : 'type'}, visible(node.type)), ' ', make('span', {class: 'soft'}, visible(node.place))),
    make('p', {}, visible(node.summary)));
  if (node.folder) return show_folder(node);
  show_objects(node);
  show_model(node);
  show_network(node);
  show_values(node);
  show_lines(node);
  show_info(node);
  show_children(node);
  count();
}

// What the browser has drawn, for the test of this page.
function count(drawn = {}) {
  Object.assign(document.body.dataset, {rows: tree.children.length, plots: document.querySelectorAll('.plot path').length}, drawn);
}

