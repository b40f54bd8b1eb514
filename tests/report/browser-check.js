'use strict';
// Loads nexhost reports in headless Chromium (DevTools protocol over a pipe, no packages)
// and checks each: no console error or uncaught exception, every chart holds as many
// points per series as the run's JSON Lines say, the timeline lists every event, filters
// by kind, tells each event with the text output's line for it, and expands a modem
// message into its fields. Saves a screenshot of each.
//
//   node browser-check.js CHROMIUM SCREENSHOT_DIR REPORT.html=RUN.jsonl[+COMPARED.jsonl]=RUN.txt...
//
// A report written with --compare COMPARED.jsonl also holds, on each chart the compared run
// has too, the compared run's series, their labels ending in " (COMPARED.jsonl)".
const { spawn } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');

const [chromium, shotDir, ...pairs] = process.argv.slice(2);
const kTimeoutMs = 20000;

// ---- What the charts must hold, counted from the run's events.

const linkNames = { 0: 'P2P group owner link', 1: 'P2P client link', 2: 'station link',
                    3: 'soft AP link' };

function expectedCharts(events) {
  const charts = new Map();
  const measurements = [];
  let pending = null;
  const profile = (type) => {
    const title = type === 0 ? 'Default profile (0)' : 'Profile ' + type;
    if (!charts.has(title)) charts.set(title, { 'quality not met': 0, reason: 0 });
    return charts.get(title);
  };
  const bump = (counts, label) => { counts[label] = (counts[label] || 0) + 1; };
  const last = events.length ? events[events.length - 1].time : 0;
  // Without steps (a filtered run) a measurement is known by its reports alone.
  const steps = events.some((e) => e.kind === 'step');
  for (const e of events) {
    if (e.kind === 'step' && e.action === 'start') pending = { e, timers: [] };
    if (e.kind === 'timer' && e.action === 'add' && pending) pending.timers.push(e.period);
    if (e.kind === 'result' && e.operation === 'startWifiMeasurement') {
      if (e.accepted && pending) {
        const m = { client: pending.e.client, id: e.wifi_meas_id, start: e.time, stop: last,
                    connected: pending.timers.length >= 2, period: Math.max(pending.timers[0], 1),
                    counts: {} };
        m.counts = m.connected ? { 'sampled RSSI': 0, average: 0, reported: 0 } : {};
        measurements.push(m);
        charts.set('Measurement ' + m.id + ', client ' + m.client, m.counts);
      }
      pending = null;
    }
    if (e.kind === 'step' && e.action === 'stop') {
      for (const m of measurements) {
        if (m.id === e.indication.wifi_meas_id && m.client === e.client) m.stop = e.time;
      }
    }
    if (e.kind === 'step' && e.action === 'create_default_profile') profile(0);
    if (e.kind === 'step' && e.action === 'set_wqe_profile') (e.indication.profiles || []).forEach(profile);
    if (e.kind !== 'modem') continue;
    const f = e.fields;
    if (e.message === 'wifi_meas_report') {
      let m = measurements.find((x) => x.id === f.wifi_meas_id && x.client === e.client);
      if (!m && !steps) {
        m = { client: e.client, id: f.wifi_meas_id, connected: false, counts: {} };
        measurements.push(m);
        charts.set('Measurement ' + m.id + ', client ' + m.client, m.counts);
      }
      if (!m) continue;
      if (m.connected) {
        bump(m.counts, 'reported');
        continue;
      }
      for (const b of f.bss_info) {
        bump(m.counts, 'RSSI ' + f.ssid + ' ' + b.bssid);
        if (b.reported_params & 4) bump(m.counts, 'CU ' + f.ssid + ' ' + b.bssid);
      }
    } else if (e.message === 'wqe_profile_quality_status') {
      const p = profile(f.profile_type);
      bump(p, 'quality not met');
      if (f.reason_valid) bump(p, 'reason');
    } else if (e.message === 'notify_data_settings' && f.wifi_state_valid) {
      bump(profile(0), 'Wi-Fi on');
    } else if (e.message === 'wlan_available') {
      bump(profile(0), linkNames[f.connection_type] || 'other link');
    }
  }
  // A connected measurement samples when its sampling timer is due: every period after its
  // start, up to its stop. The first poll at each such time is the sample.
  const firstPoll = new Map();
  for (const e of events) {
    if (e.kind === 'supplicant' && e.command === 'SIGNAL_POLL' && !firstPoll.has(e.time)) {
      firstPoll.set(e.time, e);
    }
  }
  for (const m of measurements.filter((x) => x.connected)) {
    for (let t = m.start + m.period; t <= m.stop; t += m.period) {
      const poll = firstPoll.get(t);
      if (poll && poll.ok && poll.rssi !== undefined) {
        m.counts['sampled RSSI']++;
        m.counts.average++;
      }
    }
  }
  // The legend lists only drawn series: a series without points has no place on the page.
  for (const counts of charts.values()) {
    for (const label of Object.keys(counts)) if (counts[label] === 0) delete counts[label];
  }
  return charts;
}

// ---- Chromium over the DevTools pipe (fd 3 in, fd 4 out, NUL-separated JSON).

function startBrowser() {
  const profile = fs.mkdtempSync(path.join(os.tmpdir(), 'nexhost-report-'));
  const child = spawn(chromium, [
    '--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
    '--disable-background-networking', '--disable-component-update', '--disable-sync',
    '--remote-debugging-pipe', '--user-data-dir=' + profile, 'about:blank',
  ], { stdio: ['ignore', 'ignore', 'pipe', 'pipe', 'pipe'] });
  let stderr = '';
  child.stderr.on('data', (d) => { stderr += d; });
  const pending = new Map();
  const listeners = [];
  let nextId = 1;
  let buffer = '';
  child.stdio[4].on('data', (chunk) => {
    buffer += chunk.toString('utf8');
    let end;
    while ((end = buffer.indexOf('\0')) >= 0) {
      const message = JSON.parse(buffer.slice(0, end));
      buffer = buffer.slice(end + 1);
      if (message.id && pending.has(message.id)) {
        const { resolve, reject } = pending.get(message.id);
        pending.delete(message.id);
        if (message.error) reject(new Error(JSON.stringify(message.error)));
        else resolve(message.result);
      } else {
        for (const listen of listeners) listen(message);
      }
    }
  });
  const exited = new Promise((resolve) => child.on('exit', resolve));
  exited.then(() => {
    for (const { reject } of pending.values()) reject(new Error('chromium exited: ' + stderr));
  });
  return {
    send(method, params = {}, sessionId) {
      const id = nextId++;
      child.stdio[3].write(JSON.stringify({ id, method, params, sessionId }) + '\0');
      return new Promise((resolve, reject) => {
        pending.set(id, { resolve, reject });
        setTimeout(() => reject(new Error(method + ': no answer in time')), kTimeoutMs);
      });
    },
    on(listen) { listeners.push(listen); },
    async close() {
      // Browser.close lets Chromium finish with its profile before it is removed.
      const id = nextId++;
      child.stdio[3].write(JSON.stringify({ id, method: 'Browser.close' }) + '\0');
      const killer = setTimeout(() => child.kill('SIGKILL'), 5000);
      await exited;
      clearTimeout(killer);
      fs.rmSync(profile, { recursive: true, force: true, maxRetries: 5 });
    },
  };
}

// The text output's line of each event, "TIME KIND LINE" (the time and kind columns
// trimmed); the indented field blocks under some events are not event lines.
function textLines(text) {
  return text.split('\n').filter((l) => /^ *-?\d+ /.test(l))
    .map((l) => [l.slice(0, 6).trim(), l.slice(7, 17).trim(), l.slice(18)].join(' '));
}

// The charts of a run with a compared run's series added to the charts both have.
function expectedComparedCharts(events, compared, name) {
  const charts = expectedCharts(events);
  for (const [title, counts] of expectedCharts(compared)) {
    if (!charts.has(title)) continue;
    for (const [label, n] of Object.entries(counts)) charts.get(title)[label + ' (' + name + ')'] = n;
  }
  return charts;
}

async function checkReport(browser, html, events, text, expected) {
  const problems = [];
  const { targetId } = await browser.send('Target.createTarget', { url: 'about:blank' });
  const { sessionId } = await browser.send('Target.attachToTarget', { targetId, flatten: true });
  const send = (method, params) => browser.send(method, params, sessionId);
  browser.on((m) => {
    if (m.sessionId !== sessionId) return;
    if (m.method === 'Runtime.exceptionThrown') {
      problems.push('uncaught: ' + JSON.stringify(m.params.exceptionDetails));
    } else if (m.method === 'Runtime.consoleAPICalled' &&
               ['error', 'assert', 'warning'].includes(m.params.type)) {
      problems.push('console ' + m.params.type + ': ' +
                    m.params.args.map((a) => a.value || a.description).join(' '));
    } else if (m.method === 'Log.entryAdded' && ['error', 'warning'].includes(m.params.entry.level)) {
      problems.push('log ' + m.params.entry.level + ': ' + m.params.entry.text);
    }
  });
  await send('Runtime.enable');
  await send('Log.enable');
  await send('Page.enable');
  await send('Emulation.setDeviceMetricsOverride',
             { width: 1000, height: 900, deviceScaleFactor: 1, mobile: false });
  await send('Page.navigate', { url: 'file://' + path.resolve(html) });
  const evaluate = async (expression) =>
    (await send('Runtime.evaluate', { expression, returnByValue: true })).result.value;
  const started = Date.now();
  while ((await evaluate('document.body && document.body.dataset.ready')) !== 'true') {
    if (Date.now() - started > kTimeoutMs) {
      problems.push('the page never finished drawing');
      return problems;
    }
    await new Promise((r) => setTimeout(r, 50));
  }

  // A card's panels each have a chart of their own; their points count together.
  const drawn = [...new Map(await evaluate(`(() => {
      const cards = new Map();
      for (const c of document.querySelectorAll('.chart')) {
        cards.set(c.dataset.title, Object.assign(cards.get(c.dataset.title) || {},
                                                 JSON.parse(c.dataset.points)));
      }
      return [...cards];
    })()`))];
  const drawnTitles = drawn.map(([title]) => title);
  if (JSON.stringify(drawnTitles.slice().sort()) !== JSON.stringify([...expected.keys()].sort())) {
    problems.push('charts ' + JSON.stringify(drawnTitles) + ', expected ' +
                  JSON.stringify([...expected.keys()]));
  }
  for (const [title, points] of drawn) {
    const want = expected.get(title) || {};
    if (JSON.stringify(points, Object.keys(points).sort()) !==
        JSON.stringify(want, Object.keys(want).sort())) {
      problems.push(title + ': points ' + JSON.stringify(points) + ', expected ' + JSON.stringify(want));
    }
  }

  // The legend of each chart lists its drawn series and no other.
  const legends = await evaluate(`[...document.querySelectorAll('.chart:not(.empty)')].map((c) =>
      [c.dataset.title, c.dataset.points, c.nextElementSibling.textContent])`);
  for (const [title, points, legend] of legends) {
    for (const [label, n] of Object.entries(JSON.parse(points))) {
      if (n === 0) problems.push(title + ': "' + label + '" is in the legend but not drawn');
      if (!legend.includes(label)) problems.push(title + ': the legend lacks "' + label + '"');
    }
  }

  const listed = await evaluate("document.getElementById('timeline-count').textContent");
  if (!String(listed).startsWith(events.length + ' of ' + events.length + ' events')) {
    problems.push('timeline: "' + listed + '", expected ' + events.length + ' events');
  }
  // Every event drawn, each told with the text output's own line for it.
  const shown = await evaluate(`(() => {
      const more = document.getElementById('more');
      while (!more.hidden) more.click();
      return [...document.querySelectorAll('#timeline-rows summary')].map((s) =>
        [s.querySelector('.t').textContent, s.querySelector('.k').textContent,
         s.querySelector('.line').textContent].join(' '));
    })()`);
  const expectedLines = textLines(text);
  if (JSON.stringify(shown) !== JSON.stringify(expectedLines)) {
    const at = expectedLines.findIndex((l, i) => shown[i] !== l);
    problems.push('timeline line ' + at + ': "' + shown[at] + '", the text output has "' +
                  expectedLines[at] + '" (' + shown.length + ' lines, expected ' +
                  expectedLines.length + ')');
  }
  // Only modem messages, then the first one opened: its decoded fields appear.
  const modem = events.filter((e) => e.kind === 'modem');
  const filtered = await evaluate(`(() => {
      for (const box of document.querySelectorAll('#kind-filters input')) {
        box.checked = box.dataset.kind === 'modem';
        box.dispatchEvent(new Event('change'));
      }
      const rows = document.querySelectorAll('#timeline-rows details');
      if (rows.length) rows[0].open = true;
      return rows.length;
    })()`);
  if (filtered !== Math.min(modem.length, 500)) {
    problems.push('modem filter shows ' + filtered + ' rows, expected ' + modem.length);
  }
  if (modem.length > 0) {
    await new Promise((r) => setTimeout(r, 100));  // the toggle event is asynchronous
    const keys = await evaluate(`[...document.querySelectorAll('#timeline-rows .fields td.key')]
        .map((k) => k.textContent)`);
    for (const key of Object.keys(modem[0].fields)) {
      if (!keys.includes(key)) problems.push('the first modem message does not show ' + key);
    }
  }
  // Nothing the page says is a value the script failed to make.
  const said = await evaluate('document.body.innerText');
  for (const bad of ['undefined', 'NaN', '[object Object]']) {
    const at = said.indexOf(bad);
    if (at >= 0) problems.push('the page says "' + said.slice(Math.max(0, at - 60), at + 40) + '"');
  }
  await evaluate("window.scrollTo(0, 0)");
  const shot = await send('Page.captureScreenshot', { format: 'png' });
  fs.writeFileSync(path.join(shotDir, path.basename(html, '.html') + '.png'),
                   Buffer.from(shot.data, 'base64'));
  await browser.send('Target.closeTarget', { targetId });
  return problems;
}

(async () => {
  const browser = startBrowser();
  let failed = false;
  try {
    for (const pair of pairs) {
      const [html, runs, txt] = pair.split('=');
      const [jsonl, compared] = runs.split('+');
      const read = (file) => fs.readFileSync(file, 'utf8').split('\n').filter((l) => l.trim())
                               .map((l) => JSON.parse(l));
      const events = read(jsonl);
      const expected = compared
        ? expectedComparedCharts(events, read(compared), path.basename(compared))
        : expectedCharts(events);
      const problems = await checkReport(browser, html, events, fs.readFileSync(txt, 'utf8'),
                                         expected);
      console.log((problems.length ? 'FAIL ' : 'ok   ') + html);
      for (const p of problems) console.log('     ' + p);
      failed = failed || problems.length > 0;
    }
  } finally {
    await browser.close();
  }
  process.exit(failed ? 1 : 0);
})().catch((e) => {
  console.error(e.stack || String(e));
  process.exit(1);
});
