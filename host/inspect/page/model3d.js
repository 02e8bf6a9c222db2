// ---- 3D models

// Draws the nearest triangles, or the points, as pixels; points farther away are darker.
function paint_model(pixels, width, height, x, y, z, triangles, color_at) {
  const depth = new Float32Array(width * height).fill(-Infinity);
  const put = (at, deep, r, g, b, light) => {
    if (deep <= depth[at]) return;
    depth[at] = deep;
    pixels.set([r * light, g * light, b * light, 255], 4 * at);
  };
  if (!triangles.length) {
    for (let i = 0; i < x.length; ++i) {
      const column = Math.round(x[i]), row = Math.round(y[i]), light = .75 + .25 * Math.max(-1, Math.min(1, 2 * z[i] / Math.min(width, height)));
      for (const [r, c] of [[row, column], [row, column + 1], [row + 1, column], [row + 1, column + 1]])
        if (r >= 0 && c >= 0 && r < height && c < width) put(r * width + c, z[i], ...color_at(i), light);
    }
  }
  for (let t = 0; t + 2 < triangles.length; t += 3) {
    const [a, b, c] = [triangles[t], triangles[t + 1], triangles[t + 2]];
    const area = (x[b] - x[a]) * (y[c] - y[a]) - (x[c] - x[a]) * (y[b] - y[a]);
    if (!area) continue;
    const nx = (y[b] - y[a]) * (z[c] - z[a]) - (z[b] - z[a]) * (y[c] - y[a]), ny = (z[b] - z[a]) * (x[c] - x[a]) - (x[b] - x[a]) * (z[c] - z[a]);
    const light = .4 + .6 * Math.abs(area) / Math.hypot(nx, ny, area), [ca, cb, cc] = [color_at(a), color_at(b), color_at(c)];
    const top = Math.max(0, Math.ceil(Math.min(y[a], y[b], y[c]))), bottom = Math.min(height - 1, Math.floor(Math.max(y[a], y[b], y[c])));
    const left = Math.max(0, Math.ceil(Math.min(x[a], x[b], x[c]))), right = Math.min(width - 1, Math.floor(Math.max(x[a], x[b], x[c])));
    for (let row = top; row <= bottom; ++row)
      for (let column = left; column <= right; ++column) {
        const u = ((x[b] - column) * (y[c] - row) - (x[c] - column) * (y[b] - row)) / area;
        const v = ((x[c] - column) * (y[a] - row) - (x[a] - column) * (y[c] - row)) / area;
        const w = 1 - u - v, mix = (k) => u * ca[k] + v * cb[k] + w * cc[k];
        if (u >= 0 && v >= 0 && w >= 0) put(row * width + column, u * z[a] + v * z[b] + w * z[c], mix(0), mix(1), mix(2), light);
      }
  }
}

function show_model(node) {
  const part = (name) => numbers_of(node.children.find((child) => child.label === name));
  const points = ['x', 'y', 'z'].map((axis) => part('point_coord_' + axis)), color = ['red', 'green', 'blue'].map((name) => part('point_color_' + name));
  const size = Math.min(...points.map((list) => list.length));
  if (!size) return;
  const good = (i) => i >= 0 && i < size && points.every((list) => Number.isFinite(list[i]));
  const corners = part('triangles'), triangles = [];
  for (let t = 0; t + 2 < corners.length; t += 3) if (good(corners[t]) && good(corners[t + 1]) && good(corners[t + 2])) triangles.push(corners[t], corners[t + 1], corners[t + 2]);
  const range = points.map((list) => list.reduce(([low, high], value) => Number.isFinite(value) ? [Math.min(low, value), Math.max(high, value)] : [low, high], [Infinity, -Infinity]));
  const center = range.map(([low, high]) => (low + high) / 2), reach = Math.hypot(...range.map(([low, high]) => high - low)) / 2 || 1;
  const has_color = color.every((list) => list.length >= size);
  const color_at = has_color ? (i) => [color[0][i], color[1][i], color[2][i]] : () => [90, 165, 235];
  const canvas = make('canvas', {class: 'stage', tabindex: 0, role: 'img', 'aria-label': `3D picture of ${node.name}; arrow keys turn it, + and - zoom, 0 resets the view`});
  let turned, scale;
  const draw = () => {
    const width = canvas.width = canvas.clientWidth, height = canvas.height = canvas.clientHeight;
    if (!canvas.isConnected || !width || !height) return;
    const grow = scale * .46 * Math.min(width, height) / reach;
    const view = turned.map(() => new Float32Array(size));
    for (let i = 0; i < size; ++i)
      turned.forEach((row, axis) => {
        const value = grow * row.reduce((sum, factor, k) => sum + factor * (points[k][i] - center[k]), 0);
        view[axis][i] = axis === 0 ? width / 2 + value : axis === 1 ? height / 2 - value : value;
      });
    const context = canvas.getContext('2d'), image = context.createImageData(width, height);
    paint_model(image.data, width, height, ...view, triangles, color_at);
    context.putImageData(image, 0, 0);
    ['x', 'y', 'z'].forEach((axis, k) => {
      const x = 36 + 24 * turned[0][k], y = height - 36 - 24 * turned[1][k];
      context.strokeStyle = context.fillStyle = ['#e5484d', '#2f9e44', '#3b82f6'][k];
      context.beginPath(); context.moveTo(36, height - 36); context.lineTo(x, y); context.stroke();
      context.fillText(axis, x + 3, y - 3);
    });
    canvas.dataset.painted = image.data.reduce((sum, value, i) => sum + (i % 4 === 3 && value > 0), 0);
    count();
  };
  let waiting = false;
  const redraw = () => { if (!waiting) requestAnimationFrame(() => { waiting = false; draw(); }); waiting = true; };
  const times = (turn) => { turned = turn.map((row) => [0, 1, 2].map((k) => row[0] * turned[0][k] + row[1] * turned[1][k] + row[2] * turned[2][k])); };
  const drag = (dx, dy) => {
    const [a, b] = [dx / 150, dy / 150];
    times([[Math.cos(a), 0, Math.sin(a)], [0, 1, 0], [-Math.sin(a), 0, Math.cos(a)]]);
    times([[1, 0, 0], [0, Math.cos(b), -Math.sin(b)], [0, Math.sin(b), Math.cos(b)]]);
    redraw();
  };
  const fit = () => { turned = [[1, 0, 0], [0, 1, 0], [0, 0, 1]]; scale = 1; drag(-60, 60); };
  const buttons = movable(canvas, {drag, zoom: (at, factor) => { scale = Math.max(.05, Math.min(100, scale * factor)); redraw(); }, fit});
  one('main').append(make('div', {class: 'picture'}, make('div', {class: 'bar'}, ...buttons,
    make('output', {}, `${number(size)} points, ${number(triangles.length / 3)} triangles`)), canvas));
  fit();
  draw();
  new ResizeObserver(draw).observe(canvas);
}

