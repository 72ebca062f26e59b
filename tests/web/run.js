// The fault calculator in headless Chromium: each URL's table against `kvdata ... --json`
// of the native build, errors beside their fields, recomputation as a field changes, and
// screenshots of both views for the README.
//
//   node run.js PAGE_DIR KVDATA [SCREENSHOT_DIR]
'use strict';

const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const http = require('node:http');
const path = require('node:path');
const puppeteer = require('puppeteer-core');

const [pageDir, kvdata, shots] = process.argv.slice(2);
const chromium = process.env.CHROMIUM || '/usr/bin/chromium';

const TYPES = { '.html': 'text/html', '.js': 'text/javascript', '.wasm': 'application/wasm', '.css': 'text/css' };

function serve(root) {
  const server = http.createServer((req, res) => {
    const file = path.join(root, decodeURIComponent(new URL(req.url, 'http://x').pathname).replace(/^\/$/, '/index.html'));
    if (!file.startsWith(root) || !fs.existsSync(file)) {
      res.writeHead(404).end();
      return;
    }
    res.writeHead(200, { 'Content-Type': TYPES[path.extname(file)] || 'application/octet-stream' });
    fs.createReadStream(file).pipe(res);
  });
  return new Promise((resolve) => server.listen(0, '127.0.0.1', () => resolve(server)));
}

const run = (args) => JSON.parse(execFileSync(kvdata, [...args, '--json'], { encoding: 'utf8' }));

// Equal to 1e-9 of the value's size (the browser's libm is not glibc's). Angles compare on
// the circle, and only where the magnitude is above noise: the core reports the angle of
// a 1e-12 residue, the layer reports it as 0.
function close(actual, expected, what) {
  assert.ok(Math.abs(actual - expected) <= 1e-9 * Math.max(1, Math.abs(expected)),
            `${what}: page ${actual}, kvdata ${expected}`);
}
function closeAngle(actual, expected, what) {
  const d = Math.abs((((actual - expected) % 360) + 540) % 360 - 180);
  assert.ok(d <= 1e-9 * 360, `${what}: page ${actual}, kvdata ${expected}`);
}

function comparePhases(cells, json) {
  const sets = [['phases', { A: 'A', B: 'B', C: 'C' }], ['symmetrical', { positive: '1', negative: '2', zero: '0' }],
                ['line', { AB: 'AB', BC: 'BC', CA: 'CA' }]];
  for (const [block, names] of sets) {
    for (const [q, letter] of [['voltages', 'U'], ['currents', 'I']]) {
      const group = json[block][q];
      const largest = Math.max(...Object.values(group).map((v) => v.magnitude));
      for (const [name, key] of Object.entries(names)) {
        const k = letter + key, want = group[name];
        close(cells[k + '.magnitude'], want.magnitude, k + '.magnitude');
        if (want.magnitude > 1e-9 * largest) closeAngle(cells[k + '.angle'], want.angle, k + '.angle');
      }
    }
  }
}

// The device's limits against kvdata's verdicts.
function compareLimits(cells, json) {
  for (const [key, v] of Object.entries(json.limits)) {
    close(cells[`limits.${key}.largest`], v.largest, key + '.largest');
    close(cells[`limits.${key}.limit`], v.value, key + '.limit');
    assert.equal(cells[`limits.${key}.exceeded`], v.exceeded ? 1 : 0, key + '.exceeded');
  }
}

function compareImpedance(cells, json) {
  comparePhases(cells, json);
  for (const [loop, z] of Object.entries(json.loops)) {
    for (const p of ['r', 'x', 'magnitude', 'angle']) {
      const key = `loop.${loop}.${p}`;
      if (z === null) assert.equal(cells[key], null, key);
      else if (p === 'angle') closeAngle(cells[key], z[p], key);
      else close(cells[key], z[p], key);
    }
  }
  for (const p of ['magnitude', 'angle', 'rerl', 'xexl', 'z0z1_magnitude', 'z0z1_angle']) {
    if (json.k0[p] === null) assert.equal(cells['k0.' + p], null, 'k0.' + p);
    else close(cells['k0.' + p], json.k0[p], 'k0.' + p);
  }
}

async function read(page) {
  return page.$$eval('[data-kv]', (tds) => Object.fromEntries(tds.filter((td) => !td.closest('[hidden]'))
    .map((td) => [td.dataset.kv, td.dataset.value === '' ? null : Number(td.dataset.value)])));
}

async function open(page, base, query) {
  await page.goto(base + query);
  await page.waitForSelector('body[data-ready]');
  return read(page);
}

const FAULTS = [
  ['?type=FaultAB&u=30&i=5&phi=75', ['fault', 'FaultAB', '--u', '30', '--i', '5', '--phi', '75']],
  ['?type=FaultABC&u=150&i=30', ['fault', 'FaultABC', '--u', '150', '--i', '30']],
  ['?type=FaultA&u=20&i=3&phi=80&nominal=110&device=35', ['fault', 'FaultA', '--u', '20', '--i', '3', '--phi', '80', '--nominal', '110', '--device', '35']],
  ['?type=16&u=40&i=2&phi=-30', ['fault', '16', '--u', '40', '--i', '2', '--phi', '-30']],
];
const IMPEDANCES = [
  ['?loop=AN&z=5@75&k0=0.8@-5&current=5', ['impedance', 'AN', '--z', '5@75', '--k0', '0.8@-5', '--current', '5']],
  ['?loop=BC&rx=1,4&rerl=1&xexl=0.8&voltage=20', ['impedance', 'BC', '--rx', '1,4', '--rerl', '1', '--xexl', '0.8', '--voltage', '20']],
  ['?loop=ABC&z=3@80&source=2@85', ['impedance', 'ABC', '--z', '3@80', '--source', '2@85']],
  ['?loop=CA&z=10@70&z0z1=3@-3&sir=2&ks=0.5@0&nominal=110&relay-k0=0.7@0',
   ['impedance', 'CA', '--z', '10@70', '--z0z1', '3@-3', '--sir', '2', '--ks', '0.5@0', '--nominal', '110', '--relay-k0', '0.7@0']],
  ['?loop=CN&z=20@75&k0=1@0&current=10', ['impedance', 'CN', '--z', '20@75', '--k0', '1@0', '--current', '10']],
];

async function main() {
  const server = await serve(path.resolve(pageDir));
  const base = `http://127.0.0.1:${server.address().port}/index.html`;
  const browser = await puppeteer.launch({ executablePath: chromium, headless: true, args: ['--no-sandbox'] });
  const page = await browser.newPage();
  await page.setViewport({ width: 1280, height: 860 });
  const pageErrors = [];
  page.on('pageerror', (e) => pageErrors.push(e.message));
  let passed = 0;
  const check = async (name, body) => {
    await body();
    ++passed;
    console.log('ok', name);
  };

  for (const [query, args] of FAULTS)
    await check(query, async () => {
      const cells = await open(page, base, query);
      const json = run(args);
      comparePhases(cells, json);
      compareLimits(cells, json);
      assert.equal(await page.$eval('#limits caption', (c) => c.textContent.endsWith(': within')), json.within_limits,
                   'within limits');
      assert.equal(await page.$eval('#results', (r) => Number(r.dataset.result)), json.result.code, 'result code');
    });
  const times = await page.evaluate(() => window.kvTiming);
  for (const [query, args] of IMPEDANCES)
    await check(query, async () => {
      const cells = await open(page, base, query);
      const json = run(args);
      compareImpedance(cells, json);
      assert.equal(await page.$eval('#results', (r) => r.dataset.result === '0'), json.feasible, 'feasible');
    });

  await check('errors beside their fields', async () => {
    await open(page, base, '?type=FaultAB&u=abc');
    assert.match(await page.$eval('.err[data-for="u"]', (e) => e.textContent), /^u: 'abc' is not a number/);
    await open(page, base, '?type=FaultXY');
    assert.match(await page.$eval('.err[data-for="type"]', (e) => e.textContent), /FaultXY/);
    await open(page, base, '?loop=AN&z=5@75&current=-5');
    assert.match(await page.$eval('.err[data-for="quantity"]', (e) => e.textContent), /current: must be >= 0/);
    await open(page, base, '?loop=AB&z=0@0&source=0@0');
    assert.notEqual(await page.$eval('#message', (e) => e.textContent) +
                    (await page.$$eval('#form-impedance .err', (es) => es.map((e) => e.textContent).join(''))), '');
    assert.equal(await page.$eval('#results', (r) => r.dataset.state), 'error');
  });

  await check('a changed field recomputes and goes into the URL', async () => {
    await open(page, base, '?type=FaultAB&i=15');
    const field = await page.$('#form-fault input[name="device"]');
    await field.type('31');
    assert.equal(await page.$eval('#results', (r) => r.dataset.result), String(run(['fault', 'FaultAB', '--i', '15', '--device', '31']).result.code));
    await page.waitForFunction(() => location.search.includes('device=31'));
    await field.click({ clickCount: 3 });
    await page.keyboard.press('Backspace');
    // The device's limits do not stay for the next fault.
    const cells = await read(page);
    const json = run(['fault', 'FaultAB', '--i', '15']);
    assert.equal(await page.$eval('#results', (r) => r.dataset.result), String(json.result.code));
    comparePhases(cells, json);
    await page.$eval('#form-fault input[name="u"]', (e) => { e.value = ''; });
    await page.type('#form-fault input[name="u"]', '45');
    comparePhases(await read(page), run(['fault', 'FaultAB', '--i', '15', '--u', '45']));
  });

  await check('the R-X diagram has a point per loop with a value', async () => {
    await open(page, base, '?loop=AN&z=5@75&k0=0.8@-5&current=5');
    assert.equal(await page.$$eval('#rx circle.loop', (c) => c.length), 5);
    assert.ok(await page.$eval('#rx', (svg) => svg.getBoundingClientRect().width > 0), 'the R-X diagram shows');
    await open(page, base, '?type=FaultAB');
    assert.ok(await page.$eval('#rx', (svg) => svg.getBoundingClientRect().width === 0), 'no R-X diagram for a catalogue fault');
    await open(page, base, '?loop=AN&z=5@75&k0=0.8@-5&current=5');
    assert.equal(await page.$$eval('#vectors line.current', (l) => l.length), 1);
  });

  await check('a record read from disk, its phasors at the cursor', async () => {
    const dir = fs.mkdtempSync(path.join(require('node:os').tmpdir(), 'kvdata-web-'));
    const example = path.resolve(__dirname, '../../examples/relay-record.json');
    execFileSync(kvdata, ['comtrade', example, '-o', path.join(dir, 'relay'), '--format', 'BINARY']);
    execFileSync(kvdata, ['comtrade', example, '-o', path.join(dir, 'combined'), '--cff']);
    const cases = [[['relay.cfg', 'relay.dat'], '0.02'], [['combined.cff'], '-0.05']];
    for (const [files, at] of cases) {
      await open(page, base, '?kind=record&at=' + at);
      await (await page.$('#record-files')).uploadFile(...files.map((f) => path.join(dir, f)));
      await page.waitForSelector('#viewer[data-state="ok"]');
      const cells = await read(page);
      const json = run(['record', path.join(dir, files[0]), '--at', at]);
      const names = json.analog.map((c) => c.name);
      const phasors = json.phasors[0];
      names.forEach((name, k) => {
        close(cells[`channel.${k}.magnitude`], phasors.channels[name].magnitude, name + '.magnitude');
        if (phasors.channels[name].magnitude > 1e-9) closeAngle(cells[`channel.${k}.angle`], phasors.channels[name].angle, name + '.angle');
      });
      phasors.groups.forEach((g, k) => {
        for (const s of ['positive', 'negative', 'zero']) {
          close(cells[`group.${k}.${s}.magnitude`], g[s].magnitude, `group ${k} ${s}`);
          if (g[s].magnitude > 1e-9) closeAngle(cells[`group.${k}.${s}.angle`], g[s].angle, `group ${k} ${s} angle`);
        }
      });
      assert.equal(await page.$$eval('#record-plot polyline.digital', (l) => l.length), json.digital.length);
    }
    // Moving the cursor recomputes; a bad file says why.
    await page.$eval('#record-at', (e) => { e.value = ''; });
    await page.type('#record-at', '0.1');
    const at = run(['record', path.join(dir, 'combined.cff'), '--at', '0.1']).phasors[0].channels.IA;
    close((await read(page))['channel.3.magnitude'], at.magnitude, 'IA at 0.1 s');
    if (shots) await page.screenshot({ path: path.join(shots, 'web-record.png') });
    fs.writeFileSync(path.join(dir, 'bad.cff'), 'not a record');
    await (await page.$('#record-files')).uploadFile(path.join(dir, 'bad.cff'));
    await page.waitForSelector('#viewer[data-state="error"]');
    assert.match(await page.$eval('#record-message', (e) => e.textContent), /bad\.cff:1:/);
    fs.rmSync(dir, { recursive: true });
  });

  if (shots) {
    await open(page, base, '?type=FaultAB&u=30&i=5&phi=75');
    await page.screenshot({ path: path.join(shots, 'web-fault.png') });
    await open(page, base, '?loop=AN&z=5@75&k0=0.8@-5&current=5');
    await page.screenshot({ path: path.join(shots, 'web-impedance.png') });
  }
  // One recomputation, measured in the page around the library call.
  await open(page, base, '?loop=AN&z=5@75&k0=0.8@-5&current=5');
  const call = await page.evaluate(() => {
    const input = document.querySelector('#form-impedance input[name="z"]');
    const samples = [];
    for (let k = 0; k < 50; ++k) {
      input.value = `${4 + k / 50}@75`;
      input.dispatchEvent(new Event('input', { bubbles: true }));
      samples.push(window.kvTiming.lastCall);
    }
    samples.sort((a, b) => a - b);
    const t0 = performance.now();
    for (let k = 0; k < 200; ++k) {
      input.value = `${4 + k / 200}@75`;
      input.dispatchEvent(new Event('input', { bubbles: true }));
    }
    return { median: samples[25], whole: (performance.now() - t0) / 200 };
  });
  assert.deepEqual(pageErrors, []);
  await browser.close();
  server.close();
  console.log(`${passed} checks passed; first result ${times.navigationToFirstResult.toFixed(0)} ms after navigation start, ` +
              `one library call ${call.median.toFixed(1)} ms ` +
              `(median of 50), a whole recomputation with its table and diagrams ${call.whole.toFixed(3)} ms`);
}

main().catch((e) => {
  console.error('FAILED:', e.message);
  process.exit(1);
});
