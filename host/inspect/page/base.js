'use strict';
const one = (selector, from = document) => from.querySelector(selector);
const data = JSON.parse(one('#data').textContent);
const nodes = data.nodes;
const colors = ['#ff4d4d', '#2ecc71', '#3f9bff', '#ffb020', '#e056fd', '#00d2d3', '#ff7eb6', '#a4de02', '#9b7bff', '#ff8c42'];
const square_scale = 8;    // screen pixels per image pixel from which image pixels are shown as squares
const max_open_nodes = 300; // a larger tree starts closed
const max_rows = 5000;      // of the tree, shown at once

// ---- Elements

function fill(element, attributes, children) {
  for (const [name, value] of Object.entries(attributes))
    if (name.startsWith('on')) element[name] = value;
    else if (name === 'style') element.style.cssText = value; // the page's policy forbids the attribute
    else if (value !== undefined) element.setAttribute(name, value);
  element.append(...children.filter((child) => child !== undefined && child !== ''));
  return element;
}
const make = (tag, attributes = {}, ...children) => fill(document.createElement(tag), attributes, children);
const shape = (tag, attributes = {}, ...children) =>
  fill(document.createElementNS('http://www.w3.org/2000/svg', tag), attributes, children);

// Shows control characters as symbols, and characters that turn the direction of the text as <U+...>.
const visible = (text) => text
  .replace(/[\0-\x1f\x7f]/g, (c) => c === '\x7f' ? '\u2421' : String.fromCharCode(0x2400 + c.charCodeAt(0)))
  .replace(/[\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069]/g, (c) => `<U+${c.charCodeAt(0).toString(16).toUpperCase()}>`);
const number = (value) => value.toLocaleString('en');
const short = (value) => String(value); // the fewest digits that read back to the same number

// ---- Nodes

nodes.forEach((node, id) => {
  node.id = id;
  node.children = [];
  node.up = nodes[node.parent];
  node.level = node.up ? node.up.level + 1 : 0;
  node.place = node.up ? (node.up.up ? node.up.place : '') + '/' + node.segment : '/';
  node.name = visible(node.up ? node.label : data.title);
  node.open = (nodes.length <= max_open_nodes && !nodes[0].folder) || node.level < 1;
  if (node.up) node.up.children.push(node);
});

// The values "[1, 2.5]" as numbers; empty for tuples that contain texts.
function numbers_of(node) {
  if (!node || !node.values || !/^(integer|real)/.test(node.type)) return [];
  const list = node.values.replace(/^\[|\]$/g, '').split(',');
  if (list.at(-1).endsWith('…')) list.pop();
  return list.map(Number);
}

