// The fault calculator: reads the fields, calls the library (kvdata.wasm) for every
// number, writes the table and draws the diagrams. The inputs live in the URL query
// under kvdata's option names, so a URL reproduces a calculation.
'use strict';

const timing = { navigationToFirstResult: null, lastCall: null };
window.kvTiming = timing;

const $ = (selector, root = document) => root.querySelector(selector);
const $$ = (selector, root = document) => Array.from(root.querySelectorAll(selector));
const SVG = 'http://www.w3.org/2000/svg';

const MODELS = ['current', 'voltage', 'source', 'sir'];
const FAULT_FIELDS = ['type', 'u', 'i', 'phi', 'nominal', 'device'];
const IMPEDANCE_FIELDS = ['loop', 'z', 'rx', 'k0', 'rerl', 'xexl', 'z0z1', 'ks', 'nominal', 'relay-k0'];

let kv = null;
let kind = 'fault';

// ---- inputs and the URL ----

function fromQuery() {
  const q = new URLSearchParams(location.search);
  kind = q.has('loop') || q.get('kind') === 'impedance' ? 'impedance' : q.get('kind') === 'record' ? 'record' : 'fault';
  if (kind === 'record') {
    if (q.has('at')) $('#record-at').value = q.get('at');
    return;
  }
  const form = $('#form-' + kind);
  for (const el of form.elements) if (el.name && q.has(el.name)) el.value = q.get(el.name);
  if (kind === 'impedance') {
    const model = MODELS.find((m) => q.has(m));
    if (model) {
      form.elements.model.value = model;
      form.elements.quantity.value = q.get(model);
    }
  }
}

function inputs() {
  const form = $('#form-' + kind);
  const out = {};
  for (const name of kind === 'fault' ? FAULT_FIELDS : IMPEDANCE_FIELDS) {
    const value = form.elements[name].value.trim();
    if (value !== '') out[name] = value;
  }
  if (kind === 'impedance') {
    const quantity = form.elements.quantity.value.trim();
    if (quantity !== '') out[form.elements.model.value] = quantity;
  }
  return out;
}

function toQuery(values) {
  const q = new URLSearchParams();
  if (kind === 'impedance' && !values.loop) q.set('kind', 'impedance');
  for (const [k, v] of Object.entries(values)) q.set(k, v);
  setQuery(q);
}

// The URL follows the inputs a moment after the last change: Chromium throttles
// history updates, and one per keystroke costs more than the calculation.
let queryTimer = 0;
function setQuery(q) {
  const text = q.toString().replace(/%40/g, '@').replace(/%2C/g, ',');
  clearTimeout(queryTimer);
  queryTimer = setTimeout(() => history.replaceState(null, '', text ? '?' + text : location.pathname), 100);
}

// ---- the table ----

const fixed = (v, digits) => (Math.abs(v) < 0.5 * 10 ** -digits ? 0 : v).toFixed(digits);
// An angle in [0, 360) that rounds up to 360 shows as 0.
const cellText = (key, v, digits) => {
  const t = fixed(v, digits);
  return key.endsWith('.angle') && Number(t) === 360 ? fixed(0, digits) : t;
};

function cell(key, digits) {
  const td = document.createElement('td');
  td.dataset.kv = key;
  td.dataset.digits = digits;
  return td;
}

function row(tbody, label, cells) {
  const tr = document.createElement('tr');
  const th = document.createElement('th');
  th.textContent = label;
  tr.append(th, ...cells);
  tbody.append(tr);
}

function buildTables() {
  const tbody = $('#phases tbody');
  const section = (title) => {
    const tr = document.createElement('tr');
    tr.className = 'section';
    tr.innerHTML = '<th colspan="5"></th>';
    tr.firstChild.textContent = title;
    tbody.append(tr);
  };
  const block = (names, keys) => names.forEach((n, k) => row(tbody, n, [
    cell('U' + keys[k] + '.magnitude', 3), cell('U' + keys[k] + '.angle', 2),
    cell('I' + keys[k] + '.magnitude', 3), cell('I' + keys[k] + '.angle', 2)]));
  section('Phases');
  block(['A', 'B', 'C'], ['A', 'B', 'C']);
  section('Symmetrical components');
  block(['positive', 'negative', 'zero'], ['1', '2', '0']);
  section('Line values');
  block(['AB', 'BC', 'CA'], ['AB', 'BC', 'CA']);
  const loops = $('#loops tbody');
  for (const l of ['AN', 'BN', 'CN', 'AB', 'BC', 'CA'])
    row(loops, l, ['r', 'x', 'magnitude', 'angle'].map((p) => cell('loop.' + l + '.' + p, p === 'angle' ? 2 : 3)));
}

function lookup(result, key) {
  const parts = key.split('.');
  if (parts[0] === 'loop') {
    const z = result.loops[parts[1]];
    return z ? z[parts[2]] : null;
  }
  if (parts[0] === 'k0') return result.k0[parts[1]];
  const v = result.values[parts[0]];
  return v ? v[parts[1]] : null;
}

function fill(result) {
  for (const td of $$('[data-kv]')) {
    if (td.closest('[hidden]')) continue;
    const v = lookup(result, td.dataset.kv);
    if (v === null || v === undefined) {
      td.textContent = '–';
      td.dataset.value = '';
    } else {
      td.textContent = cellText(td.dataset.kv, v, Number(td.dataset.digits || 4));
      td.dataset.value = String(v);
    }
  }
}

// The device's limits as kvdata judges them (a catalogue fault): each quantity's largest
// value against its limit, the numbers in data-kv cells as in the table above.
function fillLimits(result, device) {
  const limits = result.limits;
  $('#limits caption').textContent = 'Device limits (' + (device ? 'device type ' + device : "the library's start-up values") +
    '): ' + (limits.within ? 'within' : 'EXCEEDED');
  const tbody = $('#limits tbody');
  tbody.replaceChildren();
  const text = (t) => {
    const td = document.createElement('td');
    td.textContent = t;
    return td;
  };
  for (const c of limits.checks) {
    const value = (key, v, t) => {
      const td = text(t);
      td.dataset.kv = 'limits.' + c.key + '.' + key;
      td.dataset.value = String(v);
      return td;
    };
    row(tbody, c.quantity, [value('largest', c.largest, fixed(c.largest, 3) + ' ' + c.unit), text(c.where),
      text(c.limitName), value('limit', c.limit, fixed(c.limit, 3) + ' ' + c.unit),
      value('exceeded', c.exceeded ? 1 : 0, c.exceeded ? 'exceeds' : 'within')]);
  }
  $('#limits').classList.toggle('exceeded', !limits.within);
}

// ---- diagrams ----

function el(name, attrs, parent) {
  const e = document.createElementNS(SVG, name);
  for (const [k, v] of Object.entries(attrs)) e.setAttribute(k, v);
  if (parent) parent.append(e);
  return e;
}

function label(svg, x, y, text, cls) {
  const t = el('text', { x: x.toFixed(1), y: y.toFixed(1), class: cls || '' }, svg);
  t.textContent = text;
}

// A readable round scale: the largest magnitude reaches `radius` px.
function scale(largest, radius) {
  return largest > 0 ? radius / largest : 0;
}

function drawVectors(result) {
  const svg = $('#vectors');
  svg.replaceChildren();
  el('circle', { cx: 0, cy: 0, r: 130, class: 'grid' }, svg);
  el('line', { x1: -145, y1: 0, x2: 145, y2: 0, class: 'axis' }, svg);
  el('line', { x1: 0, y1: -145, x2: 0, y2: 145, class: 'axis' }, svg);
  const v = result.values;
  for (const [q, dashed] of [['U', false], ['I', true]]) {
    const names = ['A', 'B', 'C'];
    const k = scale(Math.max(...names.map((p) => v[q + p].magnitude)), q === 'U' ? 130 : 100);
    names.forEach((p) => {
      const { magnitude, angle } = v[q + p];
      if (!(magnitude > 0)) return;
      const a = (angle * Math.PI) / 180;
      const x = magnitude * k * Math.cos(a), y = -magnitude * k * Math.sin(a);
      el('line', { x1: 0, y1: 0, x2: x.toFixed(2), y2: y.toFixed(2), class: 'phase-' + p + (dashed ? ' current' : ''),
                   'marker-end': 'url(#arrow-' + p + ')' }, svg);
      label(svg, x * 1.08 - 6, y * 1.08 + 4, q + p.toLowerCase(), 'phase-' + p);
    });
  }
  const defs = el('defs', {}, svg);
  for (const p of ['A', 'B', 'C']) {
    const m = el('marker', { id: 'arrow-' + p, viewBox: '0 0 10 10', refX: 9, refY: 5, markerWidth: 6, markerHeight: 6,
                             orient: 'auto-start-reverse', class: 'phase-' + p }, defs);
    el('path', { d: 'M0,0 L10,5 L0,10 z' }, m);
  }
}

function drawRX(result) {
  const svg = $('#rx');
  svg.replaceChildren();
  const points = Object.entries(result.loops).filter(([, z]) => z);
  const largest = Math.max(result.z.magnitude, ...points.map(([, z]) => z.magnitude));
  const k = scale(largest, 120);
  el('line', { x1: -150, y1: 0, x2: 150, y2: 0, class: 'axis' }, svg);
  el('line', { x1: 0, y1: -150, x2: 0, y2: 150, class: 'axis' }, svg);
  label(svg, 138, -4, 'R', 'axis-label');
  label(svg, 4, -140, 'X', 'axis-label');
  el('line', { x1: 0, y1: 0, x2: (result.z.r * k).toFixed(2), y2: (-result.z.x * k).toFixed(2), class: 'line-z' }, svg);
  for (const [name, z] of points) {
    const x = z.r * k, y = -z.x * k;
    el('circle', { cx: x.toFixed(2), cy: y.toFixed(2), r: 4, class: 'loop' + (name === result.loop ? ' faulted' : '') }, svg);
    label(svg, x + 6, y - 6, name, 'loop-label');
  }
  if (largest > 0) label(svg, -150, 150, 'circle: ' + largest.toFixed(3) + ' Ω', 'axis-label');
  el('circle', { cx: 0, cy: 0, r: 120, class: 'grid' }, svg);
}

// ---- one calculation ----

function showError(result) {
  const names = MODELS.includes(result.field) ? 'quantity' : result.field;
  let where = names && $('#form-' + kind + ' .err[data-for="' + names + '"]');
  if (!where) {
    const prefix = result.error.split(':')[0];
    where = $('#form-' + kind + ' .err[data-for="' + (MODELS.includes(prefix) ? 'quantity' : prefix) + '"]');
  }
  (where || $('#message')).textContent = result.error;
}

function recompute() {
  if (kind === 'record') return;
  for (const e of $$('.err')) e.textContent = '';
  const values = inputs();
  toQuery(values);
  const t0 = performance.now();
  const result = kind === 'fault' ? kv.catalogueFault(values) : kv.impedanceFault(values);
  timing.lastCall = performance.now() - t0;
  document.body.classList.toggle('failed', Boolean(result.error));
  if (result.error) {
    showError(result);
    $('#results').dataset.state = 'error';
    return;
  }
  fill(result);
  if (kind === 'fault') fillLimits(result, values.device);
  drawVectors(result);
  if (kind === 'impedance') drawRX(result);
  $('#summary').textContent = kind === 'fault'
    ? result.name + ' (code ' + result.code + '): result ' + result.result + ' (' +
      ['done', 'voltage limited', 'current above its limit', 'not handled'][result.result] + ')'
    : 'Fault ' + result.loop + ', test current ' + fixed(result.testCurrent, 3) + ' A; ' +
      (result.feasible ? 'feasible' : 'NOT FEASIBLE: the loop voltage ' + fixed(result.loopVoltage, 3) +
       ' V exceeds its pre-fault value ' + fixed(result.preFaultLoopVoltage, 3) + ' V');
  $('#results').dataset.state = 'ok';
  $('#results').dataset.result = result.result;
  if (timing.navigationToFirstResult === null) timing.navigationToFirstResult = performance.now();
  $('#timing').textContent = 'Library call ' + timing.lastCall.toFixed(2) + ' ms; first result ' +
    timing.navigationToFirstResult.toFixed(0) + ' ms after navigation start';
}

function show(newKind) {
  kind = newKind;
  $('#calculator').hidden = kind === 'record';
  $('#viewer').hidden = kind !== 'record';
  for (const b of $$('nav button')) b.classList.toggle('active', b.dataset.kind === kind);
  if (kind === 'record') {
    cursor();
    return;
  }
  $('#form-fault').hidden = kind !== 'fault';
  $('#form-impedance').hidden = kind !== 'impedance';
  for (const id of ['#loops', '#k0', '#rx']) $(id).toggleAttribute('hidden', kind !== 'impedance');
  $('#limits').toggleAttribute('hidden', kind !== 'fault');
  for (const b of $$('nav button')) b.classList.toggle('active', b.dataset.kind === kind);
  recompute();
}

// ---- the record viewer ----

let record = null;  // the summary, times and samples of the open record

const baseName = (file) => file.name.replace(/\.[^.]*$/, '');
const bytes = async (file) => new Uint8Array(await file.arrayBuffer());

async function openRecord(files) {
  files = Array.from(files);
  const ext = (e) => files.find((f) => f.name.toLowerCase().endsWith(e));
  const cff = ext('.cff'), cfg = ext('.cfg'), dat = ext('.dat');
  $('#record-message').textContent = '';
  let summary;
  if (cff) summary = kv.readRecord(await bytes(cff), null, baseName(cff));
  else if (cfg && dat) summary = kv.readRecord(await bytes(cfg), await bytes(dat), baseName(cfg));
  else summary = { error: 'choose a .cfg with its .dat, or one .cff' };
  record = null;
  if (summary.error) {
    $('#record-message').textContent = summary.error;
    $('#waveforms').replaceChildren();
    $('#viewer').dataset.state = 'error';
    return;
  }
  record = {
    summary,
    times: kv.recordTimes(),
    analog: summary.analog.map((_, k) => kv.recordAnalog(k)),
    digital: summary.digital.map((_, k) => kv.recordDigital(k)),
  };
  $('#record-summary').textContent = (summary.station + ', ' + summary.device + '; COMTRADE ' + summary.revision + '; ' +
    summary.samples + ' samples, line frequency ' + summary.lineFrequency + ' Hz');
  buildRecordTables();
  drawWaveforms();
  cursor();
}

function buildRecordTables() {
  const channels = $('#record-phasors tbody'), groups = $('#record-groups tbody');
  channels.replaceChildren();
  groups.replaceChildren();
  record.summary.analog.forEach((c, k) => row(channels, c.name + (c.unit ? ', ' + c.unit : ''),
    [cell('channel.' + k + '.magnitude', 3), cell('channel.' + k + '.angle', 2)]));
  record.summary.groups.forEach((g, k) => {
    const names = g.channels.map((c) => record.summary.analog[c].name).join(' ');
    for (const s of ['positive', 'negative', 'zero']) {
      const th = document.createElement('td');
      th.textContent = s;
      row(groups, names, [th, cell('group.' + k + '.' + s + '.magnitude', 3), cell('group.' + k + '.' + s + '.angle', 2)]);
    }
  });
}

const WIDTH = 720, PANEL = 150, LANE = 16, LEFT = 50;

function xOf(t) {
  const t0 = record.times[0], t1 = record.times[record.times.length - 1];
  return LEFT + ((t - t0) / (t1 - t0 || 1)) * (WIDTH - LEFT - 10);
}

function drawWaveforms() {
  const host = $('#waveforms');
  host.replaceChildren();
  const units = [...new Set(record.summary.analog.map((c) => c.unit))];
  const height = units.length * (PANEL + 10) + record.digital.length * LANE + 30;
  const svg = el('svg', { id: 'record-plot', viewBox: `0 0 ${WIDTH} ${height}`, width: WIDTH, height }, host);
  const n = record.times.length, stride = Math.max(1, Math.floor(n / 2000));
  const colours = { A: 'phase-A', B: 'phase-B', C: 'phase-C' };
  units.forEach((unit, u) => {
    const top = u * (PANEL + 10) + 5, mid = top + PANEL / 2;
    const members = record.summary.analog.map((c, k) => [c, k]).filter(([c]) => c.unit === unit);
    let largest = 0;
    for (const [, k] of members) for (const v of record.analog[k]) if (Math.abs(v) > largest) largest = Math.abs(v);
    const ky = largest > 0 ? (PANEL / 2 - 4) / largest : 0;
    el('rect', { x: LEFT, y: top, width: WIDTH - LEFT - 10, height: PANEL, class: 'panel' }, svg);
    el('line', { x1: LEFT, y1: mid, x2: WIDTH - 10, y2: mid, class: 'axis' }, svg);
    label(svg, 4, top + 12, unit || '–', 'axis-label');
    label(svg, 4, top + 26, largest.toPrecision(3), 'axis-label');
    for (const [c, k] of members) {
      const pts = [];
      for (let i = 0; i < n; i += stride) {
        const v = record.analog[k][i];
        if (Number.isFinite(v)) pts.push(xOf(record.times[i]).toFixed(1) + ',' + (mid - v * ky).toFixed(1));
      }
      el('polyline', { points: pts.join(' '), class: 'wave ' + (colours[c.phase.toUpperCase()] || 'other') }, svg);
    }
  });
  const top = units.length * (PANEL + 10) + 10;
  record.digital.forEach((states, d) => {
    const y = top + d * LANE;
    label(svg, 4, y + 11, record.summary.digital[d].slice(0, 7), 'axis-label');
    const pts = [];
    for (let i = 0; i < n; ++i) {
      if (i > 0 && states[i] === states[i - 1] && i !== n - 1) continue;
      const x = xOf(record.times[i]).toFixed(1);
      if (i > 0) pts.push(x + ',' + (y + (states[i - 1] ? 2 : 12)));
      pts.push(x + ',' + (y + (states[i] ? 2 : 12)));
    }
    el('polyline', { points: pts.join(' '), class: 'digital' }, svg);
  });
  el('line', { id: 'record-cursor', x1: 0, y1: 0, x2: 0, y2: height, class: 'cursor' }, svg);
  svg.addEventListener('click', (e) => {
    const box = svg.getBoundingClientRect();
    const x = ((e.clientX - box.left) / box.width) * WIDTH;
    const t0 = record.times[0], t1 = record.times[record.times.length - 1];
    const t = t0 + ((x - LEFT) / (WIDTH - LEFT - 10)) * (t1 - t0) - record.summary.triggerOffset;
    $('#record-at').value = t.toFixed(4);
    cursor();
  });
}

function cursor() {
  for (const e of $$('#viewer .err')) e.textContent = '';
  const at = $('#record-at').value.trim();
  setQuery(new URLSearchParams({ kind: 'record', at }));
  if (!record) return;
  const t = Number(at);
  if (at === '' || !Number.isFinite(t)) {
    $('#viewer .err[data-for="at"]').textContent = "at: '" + at + "' is not a number";
    return;
  }
  const t0 = performance.now();
  const p = kv.recordPhasorsAt(t);
  timing.lastCall = performance.now() - t0;
  if (p.error) {
    $('#viewer .err[data-for="at"]').textContent = p.error;
    $('#viewer').dataset.state = 'error';
    return;
  }
  for (const td of $$('#viewer [data-kv]')) {
    const [what, k, a, b] = td.dataset.kv.split('.');
    const v = what === 'channel' ? p.channels[k] && p.channels[k][a] : p.groups[k] && p.groups[k][a][b];
    td.textContent = v === null || v === undefined ? '–' : cellText(td.dataset.kv, v, Number(td.dataset.digits));
    td.dataset.value = v === null || v === undefined ? '' : String(v);
  }
  const line = $('#record-cursor');
  const x = xOf(t + record.summary.triggerOffset).toFixed(1);
  line.setAttribute('x1', x);
  line.setAttribute('x2', x);
  $('#viewer').dataset.state = 'ok';
}

KvData().then((module) => {
  kv = module;
  const list = $('#fault-types');
  for (const t of kv.faultTypes()) {
    const o = document.createElement('option');
    o.value = t.name;
    o.label = t.code;
    list.append(o);
  }
  buildTables();
  fromQuery();
  for (const form of $$('form')) {
    form.addEventListener('input', recompute);
    form.addEventListener('change', recompute);
    form.addEventListener('submit', (e) => e.preventDefault());
  }
  for (const b of $$('nav button')) b.addEventListener('click', () => show(b.dataset.kind));
  $('#record-files').addEventListener('change', (e) => openRecord(e.target.files));
  $('#record-at').addEventListener('input', cursor);
  show(kind);
  document.body.dataset.ready = 'true';
});
