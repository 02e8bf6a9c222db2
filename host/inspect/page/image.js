// ---- Images: the values that the page holds, and what is drawn of them

const sample_arrays = {u1: Uint8Array, i1: Int8Array, u2: Uint16Array, i2: Int16Array, u4: Uint32Array, i4: Int32Array,
  i8: BigInt64Array, f4: Float32Array, f8: Float64Array};

async function inflate(base64) {
  const stream = new DecompressionStream('deflate'), writer = stream.writable.getWriter(), reader = stream.readable.getReader();
  writer.write(Uint8Array.from(atob(base64), (c) => c.charCodeAt(0)));
  writer.close();
  const parts = [];
  let size = 0;
  for (let part = await reader.read(); !part.done; part = await reader.read()) { parts.push(part.value); size += part.value.length; }
  const bytes = new Uint8Array(size);
  for (const part of parts.reverse()) bytes.set(part, size -= part.length);
  return bytes;
}

// The inverse of what the program does before it compresses: each value is the difference to the one on its left, and
// the lowest bytes of all differences come first.
function unpack(bytes, type, columns, count) {
  const samples = new sample_arrays[type](count), size = samples.BYTES_PER_ELEMENT;
  if (size === 8) return new sample_arrays[type](bytes.buffer, 0, count);
  const values = new {1: Uint8Array, 2: Uint16Array, 4: Uint32Array}[size](samples.buffer);
  for (let i = 0; i < count; ++i) {
    let difference = 0;
    for (let byte = 0; byte < size; ++byte) difference |= bytes[byte * count + i] << 8 * byte;
    values[i] = i % columns ? values[i - 1] + difference : difference;
  }
  return samples;
}

// What can be shown of an image: each entry names up to four channels, the fourth as transparency.
function channel_choices({channels}) {
  const single = Array.from({length: channels}, (_, c) => ({name: `Channel ${c + 1}`, of: [c]}));
  if (channels === 1) return single;
  if (channels === 2) return single;
  if (channels === 4) return [{name: 'Color, channel 4 as transparency', of: [0, 1, 2, 3]}, {name: 'Color', of: [0, 1, 2]}, ...single];
  const color = {name: channels === 3 ? 'Color' : 'Channels 1 to 3 as color', of: [0, 1, 2]};
  return channels === 3 ? [color, ...single] : [...single, color];
}

// The smallest and the largest of the shown values, inside the domain.
function value_range({planes, mask, shown}) {
  let low = Infinity, high = -Infinity;
  for (const channel of shown.of.slice(0, 3)) {
    const plane = planes[channel];
    for (let i = 0; i < plane.length; ++i) {
      const value = Number(plane[i]);
      if (mask && !mask[i] || !Number.isFinite(value)) continue;
      if (value < low) low = value;
      if (value > high) high = value;
    }
  }
  return low <= high ? [low, high] : [0, 0];
}
const default_window = (drawing) => drawing.type === 'u1' ? [0, 255] : value_range(drawing);

async function load_image(drawing) {
  const {columns, rows, channels, type} = drawing, pixels = columns * rows;
  const values = unpack(await inflate(drawing.values), type, columns, pixels * channels);
  drawing.planes = Array.from({length: channels}, (_, c) => values.subarray(c * pixels, (c + 1) * pixels));
  if (drawing.domain) drawing.mask = unpack(await inflate(drawing.domain), 'u1', columns, pixels);
  drawing.masked = !!drawing.mask;
  drawing.shown = channel_choices(drawing)[0];
  drawing.window = default_window(drawing);
}

// Window: its lower bound becomes black, its upper bound white.
function paint_image(drawing) {
  const {columns, rows, planes, mask, masked, shown, window: [low, high]} = drawing;
  const canvas = make('canvas', {width: columns, height: rows}), context = canvas.getContext('2d');
  const image = context.createImageData(columns, rows), pixels = image.data;
  const scaled = (value) => high > low ? (Number(value) - low) * 255 / (high - low) : value > high ? 255 : value < low ? 0 : 128;
  const [red, green, blue] = shown.of.length === 1 ? Array(3).fill(planes[shown.of[0]]) : shown.of.map((c) => planes[c]);
  for (let i = 0, to = 0; i < columns * rows; ++i) {
    pixels[to++] = scaled(red[i]);
    pixels[to++] = scaled(green[i]);
    pixels[to++] = scaled(blue[i]);
    pixels[to++] = masked ? mask[i] : shown.of.length === 4 ? scaled(planes[3][i]) : 255;
  }
  context.putImageData(image, 0, 0);
  return canvas;
}

// In the fewest digits that read back to the same value of its type.
function sample_text(value, type) {
  if (type !== 'f4') return String(value);
  for (let digits = 6; digits < 9; ++digits) if (Math.fround(value.toPrecision(digits)) === value) return String(Number(value.toPrecision(digits)));
  return String(Number(value.toPrecision(9)));
}

// The values of all channels under a point of an image, for the reader.
function pixel_text(drawing, row, column) {
  const {columns, rows, width, height, step, planes, mask, type} = drawing;
  if (!planes || row < 0 || column < 0 || row >= height || column >= width) return '';
  const i = Math.min(rows - 1, Math.floor(row / step)) * columns + Math.min(columns - 1, Math.floor(column / step));
  const values = planes.map((plane) => sample_text(plane[i], type)).join(', ');
  if (mask && !mask[i]) return type === 'u1' ? `: ${values} (outside of the domain)` : ': outside of the domain';
  return `: ${values}` + (step > 1 ? ` (mean of ${step} × ${step} pixels)` : '') + (drawing.drawn_because ? ' (as drawn, 0 to 255)' : '');
}

// The controls of one image; `changed` is called when it must be drawn again.
function image_controls(drawing, changed) {
  const update = () => { drawing.canvas = undefined; changed(); };
  const bound = (name, index) => make('label', {}, name, make('input', {type: 'number', step: 'any', value: drawing.window[index], oninput: (event) => {
    if (event.target.value === '') return;
    drawing.window[index] = Number(event.target.value);
    update();
  }}));
  const [low, high] = [bound('Black ', 0), bound('White ', 1)];
  const set_window = (window) => {
    drawing.window = window;
    [low, high].forEach((label, index) => { one('input', label).value = window[index]; });
    update();
  };
  const choices = channel_choices(drawing);
  const select = make('select', {'aria-label': 'Channels', onchange: () => {
    drawing.shown = choices[select.selectedIndex];
    if (drawing.type !== 'u1') set_window(default_window(drawing));
    update();
  }}, ...choices.map(({name}) => make('option', {}, name)));
  select.selectedIndex = Math.max(0, choices.findIndex(({name}) => name === drawing.shown.name));
  const domain = make('input', {type: 'checkbox', onchange: () => { drawing.masked = domain.checked; update(); }});
  domain.checked = drawing.masked;
  return [choices.length > 1 ? select : '', drawing.mask ? make('label', {title: 'Hide what is outside of the domain'}, domain, ' Domain') : '',
    low, high, make('button', {title: 'Black is the smallest shown value, white the largest', onclick: () => set_window(value_range(drawing))}, 'Min–max'),
    drawing.type === 'u1' ? make('button', {title: 'Black is 0, white is 255', onclick: () => set_window([0, 255])}, '0–255') : ''];
}
