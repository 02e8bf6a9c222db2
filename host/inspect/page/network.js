// ---- Networks: the layers as a graph and as a table

// "'a'" or "['a', 'b']" as texts.
function texts_of(node) {
  if (!node || !node.total || !node.values) return [];
  const texts = node.total === 1 ? [node.values.slice(1, -1)] : node.values.slice(2, -2).split("', '");
  return texts.length === node.total ? texts : [];
}

const child_of = (node, label) => node && node.children.find((child) => child.label === label);

// Several dictionaries are the children of an array, one is the node itself.
const dicts_of = (node) => !node ? [] : node.kind === 'array' ? node.children : child_of(node, 'name') ? [node] : [];

// "float [1, 3, 224, 224]" by the names of inputs, outputs, values between layers and parameters.
function value_shapes(root) {
  const shapes = new Map(), text = (node) => [texts_of(child_of(node, 'element_type'))[0], child_of(node, 'shape')?.values].filter(Boolean).join(' ');
  for (const label of ['values', 'inputs', 'outputs'])
    for (const value of dicts_of(child_of(root, label))) shapes.set(texts_of(child_of(value, 'name'))[0], text(value));
  for (const parameter of child_of(root, 'initializers')?.children || []) shapes.set(parameter.label, text(parameter));
  return shapes;
}

function layers_of(root) {
  return dicts_of(child_of(root, 'layers')).filter((node) => child_of(node, 'operator')).map((node, index) => ({
    node, index, name: texts_of(child_of(node, 'name'))[0] || '', operator: texts_of(child_of(node, 'operator'))[0] || '?',
    inputs: texts_of(child_of(node, 'inputs')), outputs: texts_of(child_of(node, 'outputs')),
    attributes: (child_of(node, 'attributes')?.children || []).map((attribute) => `${attribute.name} = ${attribute.summary}`),
  }));
}

// The boxes and the lines between them, without places yet: for dagre, which the page carries if it was there when the
// program was built.
function graph_of(root, layers) {
  const graph = new dagre.graphlib.Graph({multigraph: true}), makers = new Map(), boxes = [];
  graph.setGraph({nodesep: 24, ranksep: 34, marginx: 8, marginy: 8});
  graph.setDefaultEdgeLabel(() => ({}));
  const add = (id, box) => { if (graph.hasNode(id)) return; boxes.push(box); graph.setNode(id, Object.assign(box, {width: 24 + 8 * Math.max(box.title.length, box.below.length * .85), height: box.below ? 42 : 28})); };
  for (const value of dicts_of(child_of(root, 'inputs'))) {
    const name = texts_of(child_of(value, 'name'))[0];
    makers.set(name, 'in ' + name);
    add('in ' + name, {title: name, below: child_of(value, 'shape')?.values || '', node: value, kind: 'end'});
  }
  for (const layer of layers) {
    for (const output of layer.outputs) makers.set(output, String(layer.index));
    add(String(layer.index), {title: layer.operator, below: layer.name.slice(0, 24), node: layer.node, kind: 'layer', layer});
  }
  const join = (value, to) => { if (makers.has(value)) graph.setEdge(makers.get(value), to, {value}, value); };
  for (const layer of layers) for (const input of layer.inputs) join(input, String(layer.index));
  for (const value of dicts_of(child_of(root, 'outputs'))) {
    const name = texts_of(child_of(value, 'name'))[0];
    add('out ' + name, {title: name, below: child_of(value, 'shape')?.values || '', node: value, kind: 'end'});
    join(name, 'out ' + name);
  }
  return {graph, boxes};
}

// What dagre lays out: each box, and for each line a place in every rank that it passes. Its ranks are close to these:
// the longest way from an input. Boxes in a loop, which no such way reaches, count as one rank each.
function layout_cost(graph) {
  const ranks = new Map(), missing = new Map(graph.nodes().map((id) => [id, new Set(graph.predecessors(id)).size]));
  const ready = graph.sources();
  for (const id of ready) for (const next of graph.successors(id)) {
    ranks.set(next, Math.max(ranks.get(next) || 0, (ranks.get(id) || 0) + 1));
    missing.set(next, missing.get(next) - 1);
    if (!missing.get(next)) ready.push(next);
  }
  ready.forEach((id) => missing.delete(id));
  [...missing.keys()].forEach((id, i) => ranks.set(id, ready.length + i));
  const rank = (id) => ranks.get(id) || 0;
  for (const id of graph.sources()) ranks.set(id, Math.min(...graph.successors(id).map(rank)) - 1);
  return graph.edges().reduce((sum, {v, w}) => sum + Math.abs(rank(w) - rank(v)), graph.nodeCount());
}

// Nothing when the browser has too small a stack for a deep graph.
function layout({graph, boxes}) {
  try {
    dagre.layout(graph);
  } catch (error) {
    if (!(error instanceof RangeError)) throw error;
    return undefined;
  }
  return {boxes, lines: graph.edges().map((edge) => ({...graph.edge(edge), value: edge.name})), width: graph.graph().width, height: graph.graph().height};
}

function layer_box(box, shapes) {
  const lines = box.layer ? [...box.layer.inputs.map((name) => `in: ${name} ${shapes.get(name) || ''}`), ...box.layer.outputs.map((name) => `out: ${name} ${shapes.get(name) || ''}`), ...box.layer.attributes] : [];
  return shape('g', {class: box.kind, transform: `translate(${box.x} ${box.y})`, tabindex: 0, role: 'button', 'aria-label': `${box.title} ${box.below}`,
    onclick: () => choose(box.node), onkeydown: (event) => { if (event.key === 'Enter') choose(box.node); }},
  shape('title', {}, [visible(box.title), ...lines.map(visible)].join('\n')),
  shape('rect', {x: -box.width / 2, y: -box.height / 2, width: box.width, height: box.height, rx: box.kind === 'end' ? 14 : 5}),
  shape('text', {y: box.below ? -3 : 5}, visible(box.title)), box.below ? shape('text', {y: 13, class: 'below'}, visible(box.below)) : '');
}

function draw_graph({boxes, lines, width, height}, layers, shapes) {
  const layer = shape('g');
  const stage = shape('svg', {class: 'stage graph', tabindex: 0, role: 'group', 'aria-label': 'Graph of the layers; arrow keys move it, + and - zoom, 0 shows all'}, layer);
  for (const {points, value} of lines) {
    const middle = points[Math.floor(points.length / 2)];
    layer.append(shape('path', {class: 'flow', d: points.map(({x, y}, i) => `${i ? 'L' : 'M'}${x} ${y}`).join('')}));
    if (shapes.has(value)) layer.append(shape('text', {class: 'below', x: middle.x + 4, y: middle.y + 4, style: 'text-anchor: start'}, visible(shapes.get(value).replace(/^\w+ /, ''))));
  }
  layer.append(...boxes.map((box) => layer_box(box, shapes)));
  let x = 0, y = 0, scale = 1;
  const place = () => layer.setAttribute('transform', `translate(${x} ${y}) scale(${scale})`);
  const drag = (dx, dy) => { x += dx; y += dy; place(); };
  const zoom = ([px, py], factor) => { const next = Math.max(.01, Math.min(8, scale * factor)); x = px - (px - x) * next / scale; y = py - (py - y) * next / scale; scale = next; place(); };
  // Large graphs begin at their top, where one can read them.
  const fit = (event, all = true) => {
    scale = Math.min(1, .96 * stage.clientWidth / width, .96 * stage.clientHeight / height);
    if (!all) scale = Math.max(scale, Math.min(.8, .96 * stage.clientWidth / width), .35);
    x = (stage.clientWidth - width * scale) / 2; y = Math.max(4, (stage.clientHeight - height * scale) / 2);
    place();
  };
  const buttons = movable(stage, {drag, zoom, fit});
  one('main').append(make('h3', {}, 'Graph'), make('div', {class: 'picture'}, make('div', {class: 'bar'}, ...buttons, make('output', {}, `${number(layers.length)} layers, ${number(lines.length)} connections`)), stage));
  fit(undefined, false);
}

function show_network(node) {
  const root = node.label === 'layers' && node.up ? node.up : node;
  if (root.type !== 'dl_model') return;
  const layers = layers_of(root);
  if (!layers.length) return;
  const shapes = value_shapes(root), is_there = typeof dagre !== 'undefined', max_cost = 2500; // laying out takes seconds beyond that
  const graph = is_there && graph_of(root, layers), cost = is_there ? layout_cost(graph.graph) : 0;
  const drawing = is_there && cost <= max_cost && layout(graph);
  if (drawing) draw_graph(drawing, layers, shapes);
  else one('main').append(make('p', {class: 'soft'}, !is_there ? 'This program was built without dagre, which lays out the graph.' :
    `The graph is too large to be drawn: its ${number(layers.length)} layers and its connections take ${number(cost)} places; at most ${number(max_cost)} are drawn.`));
  const named = (names) => make('td', {}, ...names.flatMap((name, i) => [i ? make('br') : '', visible(name), make('span', {class: 'soft'}, ' ' + visible(shapes.get(name) || ''))]));
  const head = make('tr', {}, ...['', 'Operator', 'Name', 'Inputs', 'Outputs', 'Attributes'].map((title) => make('th', {scope: 'col', class: 'column'}, title)));
  one('main').append(make('h3', {}, 'Layers'), make('div', {class: 'scroll', tabindex: 0}, make('table', {class: 'layers'}, make('thead', {}, head), make('tbody', {}, ...layers.slice(0, 5000).map((layer) =>
    make('tr', {}, make('th', {scope: 'row'}, String(layer.index)), make('td', {}, link_to(layer.node, layer.operator)), make('td', {}, visible(layer.name)), named(layer.inputs), named(layer.outputs),
      make('td', {class: 'soft'}, ...layer.attributes.flatMap((text, i) => [i ? make('br') : '', visible(text)]))))))));
  if (layers.length > 5000) one('main').append(make('p', {class: 'soft'}, `and ${number(layers.length - 5000)} more`));
}
