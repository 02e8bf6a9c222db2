// ---- 3D models

// Positions are relative to the middle of the model, in parts of its size: computed in double precision, so that points
// far from 0 do not fall together in the single precision of the graphics card.
function model_of(node) {
  const part = (name) => numbers_of(node.children.find((child) => child.label === name));
  const points = ['x', 'y', 'z'].map((axis) => part('point_coord_' + axis)), color = ['red', 'green', 'blue'].map((name) => part('point_color_' + name));
  const size = Math.min(...points.map((list) => list.length));
  if (!size) return;
  const range = points.map((list) => list.reduce(([low, high], value) => Number.isFinite(value) ? [Math.min(low, value), Math.max(high, value)] : [low, high], [Infinity, -Infinity]));
  const center = range.map(([low, high]) => (low + high) / 2), reach = Math.hypot(...range.map(([low, high]) => high - low)) / 2 || 1;
  const positions = new Float32Array(3 * size), colors = new Uint8Array(3 * size);
  const has_color = color.every((list) => list.length >= size);
  for (let i = 0; i < size; ++i)
    for (let k = 0; k < 3; ++k) {
      positions[3 * i + k] = (points[k][i] - center[k]) / reach;
      colors[3 * i + k] = has_color ? color[k][i] : [90, 165, 235][k];
    }
  const good = (i) => i >= 0 && i < size && points.every((list) => Number.isFinite(list[i]));
  const corners = part('triangles'), triangles = [], edges = [], known = new Set();
  for (let t = 0; t + 2 < corners.length; t += 3) {
    const triangle = corners.slice(t, t + 3);
    if (!triangle.every(good)) continue;
    triangles.push(...triangle);
    for (let k = 0; k < 3; ++k) {
      const [a, b] = [triangle[k], triangle[(k + 1) % 3]].sort((a, b) => a - b), edge = a * size + b;
      if (!known.has(edge)) { known.add(edge); edges.push(a, b); }
    }
  }
  return {size, positions, colors, triangles: new Uint32Array(triangles), edges: new Uint32Array(edges)};
}

// ---- Drawing by the graphics card: a function that draws, or undefined without WebGL

function shader(gl, type, text) {
  const made = gl.createShader(type);
  gl.shaderSource(made, '#version 300 es\nprecision highp float;' + text);
  gl.compileShader(made);
  return made;
}

function gl_painter(canvas, {size, positions, colors, triangles, edges}) {
  const gl = canvas.getContext('webgl2', {antialias: true, preserveDrawingBuffer: true, premultipliedAlpha: false});
  if (!gl) return;
  const program = gl.createProgram();
  gl.attachShader(program, shader(gl, gl.VERTEX_SHADER, `
    in vec3 place; in vec3 color; uniform mat3 turn; uniform vec2 size; uniform float dot; out vec3 tint, seen;
    void main() { seen = turn * place; tint = color; gl_PointSize = dot; gl_Position = vec4(seen.xy * size, clamp(-.4 * seen.z, -1., 1.), 1.); }`));
  gl.attachShader(program, shader(gl, gl.FRAGMENT_SHADER, `
    in vec3 tint, seen; uniform int what; out vec4 result;
    void main() {
      float light = what == 2 ? .4 + .6 * abs(normalize(cross(dFdx(seen), dFdy(seen))).z) : what == 0 ? .75 + .25 * clamp(seen.z, -1., 1.) : .35;
      result = vec4(tint * light, 1.);
    }`));
  gl.linkProgram(program);
  if (!gl.getProgramParameter(program, gl.LINK_STATUS)) return;
  gl.useProgram(program);
  const buffer = (target, data) => { const made = gl.createBuffer(); gl.bindBuffer(target, made); gl.bufferData(target, data, gl.STATIC_DRAW); return made; };
  const attribute = (name, data, type, normal) => {
    buffer(gl.ARRAY_BUFFER, data);
    const at = gl.getAttribLocation(program, name);
    gl.enableVertexAttribArray(at);
    gl.vertexAttribPointer(at, 3, type, normal, 0, 0);
  };
  attribute('place', positions, gl.FLOAT, false);
  attribute('color', colors, gl.UNSIGNED_BYTE, true);
  const indices = [undefined, buffer(gl.ELEMENT_ARRAY_BUFFER, edges), buffer(gl.ELEMENT_ARRAY_BUFFER, triangles)];
  const uniform = (name) => gl.getUniformLocation(program, name);
  gl.enable(gl.DEPTH_TEST);
  gl.enable(gl.POLYGON_OFFSET_FILL);
  gl.polygonOffset(1, 1); // so that edges are in front of their triangles
  return (turned, scale, on) => {
    const {width, height} = canvas, grow = .92 * scale * Math.min(width, height);
    gl.viewport(0, 0, width, height);
    gl.clearColor(0, 0, 0, 0);
    gl.clear(gl.COLOR_BUFFER_BIT | gl.DEPTH_BUFFER_BIT);
    gl.uniformMatrix3fv(uniform('turn'), true, turned.flat());
    gl.uniform2f(uniform('size'), grow / width, grow / height);
    gl.uniform1f(uniform('dot'), 2 * (window.devicePixelRatio || 1));
    if (on.triangles) elements(2, gl.TRIANGLES, triangles.length);
    if (on.edges) elements(1, gl.LINES, edges.length);
    gl.uniform1i(uniform('what'), 0);
    if (on.points) gl.drawArrays(gl.POINTS, 0, size);
  };
  function elements(what, mode, count) {
    gl.uniform1i(uniform('what'), what);
    gl.bindBuffer(gl.ELEMENT_ARRAY_BUFFER, indices[what]);
    gl.drawElements(mode, count, gl.UNSIGNED_INT, 0);
  }
}

// ---- Drawing without it: the nearest triangles, or the points, as pixels; points farther away are darker

function paint_points(put, width, height, view, color_at) {
  const [x, y, z] = view;
  for (let i = 0; i < x.length; ++i) {
    const column = Math.round(x[i]), row = Math.round(y[i]), light = .75 + .25 * Math.max(-1, Math.min(1, 2 * z[i] / Math.min(width, height)));
    for (const [r, c] of [[row, column], [row, column + 1], [row + 1, column], [row + 1, column + 1]])
      if (r >= 0 && c >= 0 && r < height && c < width) put(r * width + c, z[i], ...color_at(i), light);
  }
}

function paint_triangles(put, width, height, [x, y, z], triangles, color_at) {
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

function plain_painter(canvas, {size, positions, colors, triangles, edges}) {
  const context = canvas.getContext('2d'), view = [0, 1, 2].map(() => new Float32Array(size));
  const color_at = (i) => colors.subarray(3 * i, 3 * i + 3);
  return (turned, scale, on) => {
    const {width, height} = canvas, grow = .46 * scale * Math.min(width, height);
    for (let i = 0; i < size; ++i)
      turned.forEach(([a, b, c], axis) => {
        const value = grow * (a * positions[3 * i] + b * positions[3 * i + 1] + c * positions[3 * i + 2]);
        view[axis][i] = axis === 0 ? width / 2 + value : axis === 1 ? height / 2 - value : value;
      });
    const image = context.createImageData(width, height), pixels = image.data, depth = new Float32Array(width * height).fill(-Infinity);
    const put = (at, deep, r, g, b, light) => {
      if (deep <= depth[at]) return;
      depth[at] = deep;
      pixels.set([r * light, g * light, b * light, 255], 4 * at);
    };
    if (on.triangles) paint_triangles(put, width, height, view, triangles, color_at);
    if (on.points) paint_points(put, width, height, view, color_at);
    context.putImageData(image, 0, 0);
    if (!on.edges) return;
    context.strokeStyle = css('--soft');
    context.beginPath();
    for (let e = 0; e < edges.length; e += 2) {
      context.moveTo(view[0][edges[e]], view[1][edges[e]]);
      context.lineTo(view[0][edges[e + 1]], view[1][edges[e + 1]]);
    }
    context.stroke();
  };
}

function draw_axes(canvas, turned) {
  const context = canvas.getContext('2d');
  context.clearRect(0, 0, 72, 72);
  ['x', 'y', 'z'].forEach((axis, k) => {
    const x = 36 + 24 * turned[0][k], y = 36 - 24 * turned[1][k];
    context.strokeStyle = context.fillStyle = ['#e5484d', '#2f9e44', '#3b82f6'][k];
    context.beginPath(); context.moveTo(36, 36); context.lineTo(x, y); context.stroke();
    context.fillText(axis, x + 3, y - 3);
  });
}

function show_model(node) {
  const model = model_of(node);
  if (!model) return;
  const canvas = make('canvas', {class: 'stage', tabindex: 0, role: 'img', 'aria-label': `3D picture of ${node.name}; arrow keys turn it, + and - zoom, 0 resets the view`});
  const axes = make('canvas', {class: 'axes', width: 72, height: 72}), count = model.triangles.length / 3;
  const paint = gl_painter(canvas, model) || plain_painter(canvas, model);
  const on = {points: !count, edges: false, triangles: count > 0};
  let turned, scale, waiting = false;
  const draw = () => {
    const ratio = window.devicePixelRatio || 1;
    canvas.width = Math.round(canvas.clientWidth * ratio); canvas.height = Math.round(canvas.clientHeight * ratio);
    if (!canvas.isConnected || !canvas.width || !canvas.height) return;
    paint(turned, scale, on);
    draw_axes(axes, turned);
  };
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
  const switches = (count ? ['points', 'edges', 'triangles'] : []).map((what) => {
    const box = make('input', {type: 'checkbox', name: what, onchange: () => { on[what] = box.checked; redraw(); }});
    box.checked = on[what];
    return make('label', {}, box, ' ' + what[0].toUpperCase() + what.slice(1));
  });
  one('main').append(make('div', {class: 'picture'}, make('div', {class: 'bar'}, ...buttons, ...switches,
    make('output', {}, `${number(model.size)} points, ${number(count)} triangles`)), make('div', {class: 'model'}, canvas, axes)));
  fit();
  draw();
  new ResizeObserver(draw).observe(canvas);
}
