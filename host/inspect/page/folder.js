// ---- Pages of several files: a row for each, with a small picture

// Everything below a node, in the order of the tree.
function below(node) {
  const all = [];
  for (let id = node.id; id < nodes.length && (id === node.id || nodes[id].level > node.level); ++id) all.push(nodes[id]);
  return all;
}

async function draw_thumbnail(canvas, node) {
  const {width, height} = canvas, model = model_of(node);
  if (model) return plain_painter(canvas, model)([[.92, 0, .39], [.15, .92, -.36], [-.36, .39, .85]], 1, {points: !model.triangles.length, triangles: true});
  const entries = below(node).flatMap(entries_of).filter((entry) => !entry.drawing.reason).slice(0, 300);
  const box = [Infinity, Infinity, -Infinity, -Infinity], context = canvas.getContext('2d');
  const image = entries.find((entry) => entry.is_image), shown = [image, ...entries.filter((entry) => !entry.is_image)].filter(Boolean);
  if (image) await (image.loading ||= load_image(image.drawing));
  for (const entry of image ? [image] : shown) { prepare(entry); grow(box, ...entry.box); }
  if (!(box[0] <= box[2])) return;
  const scale = Math.min(width / (box[2] - box[0] || 1), height / (box[3] - box[1] || 1));
  const view = {scale, ratio: 1, x: width / 2 - (box[0] + box[2]) / 2 * scale, y: height / 2 - (box[1] + box[3]) / 2 * scale};
  shown.forEach((entry, i) => {
    prepare(entry);
    entry.color ||= colors[i % colors.length];
    if (entry.is_image) draw_image(context, entry, view);
    draw_paths(context, entry, view, false);
  });
}

function show_folder(node) {
  const files = node.children.map((file) => ({file, canvas: make('canvas', {class: 'thumbnail', width: 96, height: 72, role: 'img', 'aria-label': `Picture of ${file.name}`, onclick: () => choose(file)})}));
  const about = (file) => (file.info || []).filter(([name]) => ['Format', 'Compression', 'Bits per channel'].includes(name)).map(([, value]) => value).join(', ');
  one('main').append(make('h3', {}, 'Files'), make('table', {class: 'files'}, ...files.map(({file, canvas}) => make('tr', {}, make('td', {}, canvas),
    make('td', {}, link_to(file, file.name), make('div', {class: file.type.startsWith('<') ? 'reason' : 'soft'}, visible(file.type), ' ', visible(file.summary))), make('td', {class: 'soft'}, visible(about(file)))))));
  (async () => { for (const {file, canvas} of files) if (canvas.isConnected) await draw_thumbnail(canvas, file); document.body.dataset.thumbnails = files.length; })();
}

function show_info(node) {
  if (!node.info) return;
  one('main').append(make('h3', {}, 'File'), make('div', {class: 'scroll'}, make('table', {class: 'info'}, ...node.info.map(([name, value]) =>
    make('tr', {}, make('td', {class: 'soft'}, name), make('td', {}, visible(value)))))));
}
