document.title = visible(data.title) + ' – qv_inspect';
one('h1').textContent = visible(data.title);
one('#about').textContent = `${number(nodes.length)} ${nodes.length === 1 ? 'node' : 'nodes'}, HALCON ${data.halcon}`;
one('#left-out').textContent = data.left_out.length ? 'Left out: ' + data.left_out.join('; ') : '';
draw_tree();
let wanted;
try {
  wanted = decodeURIComponent(location.hash.slice(1));
} catch {
  wanted = '/'; // the fragment is not a place
}
choose(nodes.find((node) => node.place === wanted) || nodes[0], false);
