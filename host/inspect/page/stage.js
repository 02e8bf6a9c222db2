// ---- Moving a picture: drag, wheel, two fingers, keys

function movable(stage, {drag, zoom, fit, hover}) {
  const fingers = new Map();
  const at = (event) => { const box = stage.getBoundingClientRect(); return [event.clientX - box.left, event.clientY - box.top]; };
  const middle = () => { const list = [...fingers.values()]; return [0, 1].map((i) => list.reduce((sum, p) => sum + p[i], 0) / list.length); };
  const spread = () => { const [a, b] = [...fingers.values()]; return b ? Math.hypot(a[0] - b[0], a[1] - b[1]) : 0; };
  stage.onpointerdown = (event) => { fingers.set(event.pointerId, at(event)); stage.setPointerCapture(event.pointerId); };
  stage.onpointerup = stage.onpointercancel = (event) => fingers.delete(event.pointerId);
  stage.onpointermove = (event) => {
    if (hover) hover(at(event));
    if (!fingers.has(event.pointerId)) return;
    const [from, apart] = [middle(), spread()];
    fingers.set(event.pointerId, at(event));
    const to = middle();
    drag(to[0] - from[0], to[1] - from[1]);
    if (apart) zoom(to, spread() / apart);
  };
  stage.addEventListener('wheel', (event) => { event.preventDefault(); zoom(at(event), Math.exp(-event.deltaY / 400)); }, {passive: false});
  const center = () => [stage.clientWidth / 2, stage.clientHeight / 2];
  const keys = {ArrowLeft: () => drag(40, 0), ArrowRight: () => drag(-40, 0), ArrowUp: () => drag(0, 40), ArrowDown: () => drag(0, -40),
    '+': () => zoom(center(), 1.25), '=': () => zoom(center(), 1.25), '-': () => zoom(center(), .8), 0: fit};
  stage.onkeydown = (event) => { if (keys[event.key]) { keys[event.key](); event.preventDefault(); } };
  const button = (text, title, key) => make('button', {title, 'aria-label': title, onclick: keys[key]}, text);
  return [button('+', 'Zoom in', '+'), button('−', 'Zoom out', '-'), button('Fit', 'Show all', '0')];
}

