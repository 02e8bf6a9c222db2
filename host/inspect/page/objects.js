// ---- Iconic objects, one over the other

const entries_of = (node) => node.entries ||= (node.drawings || []).map((drawing, index) => ({
  node, drawing, index, is_image: !!drawing.channels,
  name: node.name + (node.drawings.length > 1 ? ` [${index}]` : ''),
  text: node.details[index] ? visible(node.details[index]) : `${drawing.class}: ${visible(node.summary)}`,
}));

// ---- Geometry: paths relative to an origin, because the browser draws in single precision

function grow(box, left, top, right, bottom) {
  box[0] = Math.min(box[0], left); box[1] = Math.min(box[1], top);
  box[2] = Math.max(box[2], right); box[3] = Math.max(box[3], bottom);
}

// A pixel covers half a unit around its center.
function region_path(runs, box) {
  const [row, column] = runs, path = new Path2D();
  for (let i = 0; i < runs.length; i += 3) {
    path.rect(runs[i + 1] - column - .5, runs[i] - row - .5, runs[i + 2] - runs[i + 1] + 1, 1);
    grow(box, runs[i + 1] - .5, runs[i] - .5, runs[i + 2] + .5, runs[i] + .5);
  }
  return {path, row, column, filled: true};
}

// Interrupted where a coordinate is not a number. The short step at the end draws a single point as a dot.
function line_path({origin: [row, column], points}, box) {
  const path = new Path2D();
  let command = 'moveTo';
  for (let i = 0; i < points.length; i += 2) {
    if (points[i] === null || points[i + 1] === null) { command = 'moveTo'; continue; }
    path[command](points[i + 1], points[i]);
    if (points.length === 2) path.lineTo(points[i + 1] + 1e-4, points[i]);
    grow(box, points[i + 1] + column, points[i] + row, points[i + 1] + column, points[i] + row);
    command = 'lineTo';
  }
  return {path, row, column, filled: false};
}

function prepare(entry) {
  if (entry.box) return;
  const {drawing} = entry;
  entry.box = [Infinity, Infinity, -Infinity, -Infinity];
  entry.paths = [];
  if (entry.is_image) grow(entry.box, -.5, -.5, drawing.width - .5, drawing.height - .5);
  if (drawing.runs && drawing.runs.length) entry.paths.push(region_path(drawing.runs, entry.box));
  for (const line of drawing.lines || []) entry.paths.push(line_path(line, entry.box));
}

// ---- Drawing

const css = (name) => getComputedStyle(document.documentElement).getPropertyValue(name);

// Squares of the size of 8 screen pixels, behind what is transparent.
function checks() {
  const tile = make('canvas', {width: 16, height: 16}), context = tile.getContext('2d');
  context.fillStyle = css('--check-a'); context.fillRect(0, 0, 16, 16);
  context.fillStyle = css('--check-b'); context.fillRect(0, 0, 8, 8); context.fillRect(8, 8, 8, 8);
  return tile;
}

function draw_image(context, {drawing}, {x, y, scale, ratio}) {
  drawing.canvas ||= paint_image(drawing);
  context.save();
  context.setTransform(ratio * scale, 0, 0, ratio * scale, ratio * (x - .5 * scale), ratio * (y - .5 * scale));
  context.beginPath();
  context.rect(0, 0, drawing.width, drawing.height);
  context.clip();
  if (drawing.masked || drawing.shown.of.length === 4) {
    context.save();
    context.setTransform(1, 0, 0, 1, 0, 0);
    context.fillStyle = context.createPattern(checks(), 'repeat');
    context.fillRect(0, 0, context.canvas.width, context.canvas.height);
    context.restore();
  }
  context.imageSmoothingEnabled = scale * drawing.step < square_scale;
  context.imageSmoothingQuality = 'high';
  context.drawImage(drawing.canvas, 0, 0, drawing.columns * drawing.step, drawing.rows * drawing.step);
  context.restore();
}

function draw_paths(context, entry, {x, y, scale, ratio}, chosen) {
  for (const {path, row, column, filled} of entry.paths) {
    context.setTransform(ratio * scale, 0, 0, ratio * scale, ratio * (x + column * scale), ratio * (y + row * scale));
    if (filled) {
      context.globalAlpha = chosen ? .6 : .4;
      context.fillStyle = entry.color;
      context.fill(path);
    } else {
      context.globalAlpha = 1;
      context.strokeStyle = entry.color;
      context.lineWidth = (chosen ? 3.5 : 2) / scale;
      context.stroke(path);
    }
  }
  context.globalAlpha = 1;
}

// ---- The picture of a node

const views = new Map(); // of each picture, so that it is as before when one comes back to it

// What is shown first: all geometry, and one image, because several would cover one another.
function first_choice(entries, own) {
  const mine = entries.filter((entry) => entry.node === own), wanted = mine.length ? mine : entries;
  const image = wanted.find((entry) => entry.is_image) || entries.find((entry) => entry.is_image);
  return new Set(wanted.filter((entry) => !entry.is_image).concat(image ? [image] : []));
}

// A canvas that shows `on()`, in that order, and its buttons. The view of `key` is kept.
function object_stage(name, key, on, hover) {
  const canvas = make('canvas', {class: 'stage', tabindex: 0, role: 'img', 'aria-label': `Picture of ${name}; arrow keys move it, + and - zoom, 0 shows all`});
  const view = views.get(key) || {touched: false, x: 0, y: 0, scale: 1};
  views.set(key, view);
  const draw = () => {
    const width = canvas.clientWidth, height = canvas.clientHeight, context = canvas.getContext('2d');
    view.ratio = window.devicePixelRatio || 1;
    canvas.width = Math.round(width * view.ratio); canvas.height = Math.round(height * view.ratio);
    context.lineCap = context.lineJoin = 'round';
    const drawn = {images: 0, regions: 0, lines: 0};
    for (const entry of on()) {
      prepare(entry);
      const [left, top, right, bottom] = entry.box;
      if (!(right * view.scale + view.x >= -4 && left * view.scale + view.x <= width + 4 && bottom * view.scale + view.y >= -4 && top * view.scale + view.y <= height + 4)) continue;
      if (entry.is_image && entry.drawing.planes) { draw_image(context, entry, view); ++drawn.images; }
      draw_paths(context, entry, view, entry.node === current);
      for (const {filled} of entry.paths) ++drawn[filled ? 'regions' : 'lines'];
    }
    count(drawn);
  };
  let waiting = false;
  const redraw = () => { if (!waiting) requestAnimationFrame(() => { waiting = false; if (canvas.isConnected) draw(); }); waiting = true; };
  const drag = (dx, dy) => { view.x += dx; view.y += dy; view.touched = true; redraw(); };
  const zoom = ([px, py], factor) => {
    const next = Math.max(1e-4, Math.min(500, view.scale * factor));
    view.x = px - (px - view.x) * next / view.scale; view.y = py - (py - view.y) * next / view.scale; view.scale = next;
    view.touched = true;
    redraw();
  };
  const fit = () => {
    const box = [Infinity, Infinity, -Infinity, -Infinity], width = canvas.clientWidth, height = canvas.clientHeight;
    for (const entry of on()) { prepare(entry); grow(box, ...entry.box); }
    if (!(box[0] <= box[2])) return;
    view.scale = Math.min(500, .94 * Math.min(width / (box[2] - box[0] || 1), height / (box[3] - box[1] || 1)));
    view.x = width / 2 - (box[0] + box[2]) / 2 * view.scale; view.y = height / 2 - (box[1] + box[3]) / 2 * view.scale;
    view.touched = false;
    redraw();
  };
  const place = ([px, py]) => [(py - view.y) / view.scale, (px - view.x) / view.scale];
  const buttons = movable(canvas, {drag, zoom, fit, hover: (at) => hover(...place(at))});
  canvas.ondblclick = (event) => {
    const context = canvas.getContext('2d'), [row, column] = place([event.offsetX, event.offsetY]);
    context.setTransform(1, 0, 0, 1, 0, 0);
    const hit = on().reverse().find((entry) => entry.paths.some((part) => {
      context.lineWidth = 8 / view.scale;
      return context[part.filled ? 'isPointInPath' : 'isPointInStroke'](part.path, column - part.column, row - part.row);
    }));
    if (hit) choose(hit.node);
  };
  return {canvas, buttons, redraw, draw, fit, view};
}

// A slider over the images of one picture; it shows one of them at a time.
function player(images, select) {
  if (images.length < 2) return {};
  const slider = make('input', {type: 'range', min: 0, max: images.length - 1, value: 0, 'aria-label': 'Image', class: 'slider', oninput: () => select(images[slider.value])});
  const label = make('span', {class: 'soft'});
  let timer;
  const stop = () => { clearInterval(timer); timer = undefined; play.textContent = '▶'; fill(play, {'aria-label': 'Play', title: 'Play'}, []); };
  const next = () => {
    if (!slider.isConnected) return stop();
    slider.value = (Number(slider.value) + 1) % images.length;
    select(images[slider.value]);
  };
  const play = make('button', {onclick: () => {
    if (timer) return stop();
    timer = setInterval(next, 200);
    play.textContent = '❚❚';
    fill(play, {'aria-label': 'Pause', title: 'Pause'}, []);
  }}, '▶');
  stop();
  const show = (image) => { const at = images.indexOf(image); if (at >= 0) { slider.value = at; label.textContent = `${at + 1} of ${images.length}: ${image.name}`; } };
  return {show, bar: make('div', {class: 'bar'}, play, slider, label)};
}

function legend_row(entry, on, changed) {
  if (entry.drawing.reason) return make('li', {class: 'reason'}, `${entry.name}: ${visible(entry.drawing.reason)}`);
  const {drawing} = entry;
  entry.check = make('input', {type: 'checkbox', onchange: () => { entry.check.checked ? on.add(entry) : on.delete(entry); changed(); }});
  entry.check.checked = on.has(entry);
  const smaller = drawing.step > 1 ? ` (in means of ${drawing.step} × ${drawing.step} pixels)` : '';
  const drawn = drawing.drawn_because ? ` (as drawn: ${visible(drawing.drawn_because)})` : '';
  return make('li', {}, make('label', {}, entry.check, make('span', {class: 'swatch', style: `background: ${entry.is_image ? '#888' : entry.color}`}),
    make('bdi', {}, entry.name), make('span', {class: 'soft'}, entry.text + smaller + drawn)));
}

function show_objects(node) {
  const around = node.drawings && node.up ? node.up : node;
  const all = [node === around ? node : undefined, ...around.children].filter(Boolean).flatMap(entries_of);
  if (!all.length || (node.drawings && !node.drawings.length)) return;
  const entries = all.filter((entry) => !entry.drawing.reason), images = entries.filter((entry) => entry.is_image);
  entries.forEach((entry, i) => { entry.color ||= colors[i % colors.length]; entry.rank = entry.is_image ? 0 : entry.drawing.runs ? 1 : 2; entry.place = i; });
  const on = first_choice(entries, node), readout = make('output', {'aria-live': 'off'}), controls = make('div', {class: 'bar controls'});
  const order = () => [...on].sort((a, b) => a.rank - b.rank || a.place - b.place);
  const top_image = () => order().findLast((entry) => entry.is_image);
  const hover = (row, column) => {
    const image = top_image(), [r, c] = [row, column].map(Math.round), text = image ? pixel_text(image.drawing, r, c) : '';
    readout.value = text ? `row ${r}, column ${c}${text}` : `row ${row.toFixed(1)}, column ${column.toFixed(1)}`;
  };
  const stage = object_stage(node.name, around, order, hover);
  let controlled;
  const changed = async () => {
    const image = top_image();
    stage.view.touched ? stage.redraw() : stage.fit();
    if (image) playing.show?.(image);
    for (const entry of order()) if (entry.is_image) await (entry.loading ||= load_image(entry.drawing));
    if (image !== top_image()) return;
    stage.redraw();
    if (image === controlled) return;
    controlled = image;
    controls.replaceChildren(...(image ? image_controls(image.drawing, stage.redraw) : []).filter(Boolean));
  };
  const select = (image) => {
    for (const other of images) if (on.delete(other)) other.check.checked = false;
    on.add(image);
    image.check.checked = true;
    changed();
  };
  const playing = player(images, select);
  const legend = make('ul', {class: 'legend', 'aria-label': 'Objects in the picture'}, ...all.map((entry) => legend_row(entry, on, changed)));
  const parts = entries.length ? [make('div', {class: 'bar'}, ...stage.buttons, readout), playing.bar, controls, stage.canvas] : [];
  one('main').append(make('div', {class: 'picture'}, ...parts.filter(Boolean), legend));
  if (!entries.length) return;
  changed();
  new ResizeObserver(() => {
    if (!stage.canvas.isConnected) return;
    if (!stage.view.touched) stage.fit();
    stage.draw();
  }).observe(stage.canvas);
}
