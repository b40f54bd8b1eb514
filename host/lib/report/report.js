'use strict';
// Draws a nexhost run report from the data nexhost wrote into this page: one chart per raw
// measurement and per WQE profile (with the inlined dygraphs library), then the event
// timeline. Each chart's element carries data-points, the points it holds per series.
(function () {
  const data = JSON.parse(document.getElementById('report-data').textContent);
  // Each event comes with its line as nexhost's text output prints it: the page shows that
  // line and never tells an event in words of its own.
  const timeline = JSON.parse(document.getElementById('report-timeline').textContent);
  const lines = timeline.map((entry) => entry[0]);
  const events = timeline.map((entry) => entry[1]);
  const kindOrder = ['step', 'result', 'modem', 'supplicant', 'hostapd', 'timer', 'engine', 'log'];
  const pageSize = 500;

  function element(tag, className, text) {
    const e = document.createElement(tag);
    if (className) e.className = className;
    if (text !== undefined) e.textContent = text;
    return e;
  }

  function json(value) {
    return JSON.stringify(value);
  }

  // ---- Header

  function drawHeader() {
    const kinds = Object.keys(data.kinds).map((k) => data.kinds[k] + ' ' + k).join(', ');
    document.getElementById('summary').textContent =
      data.source + ': ' + data.events + ' events from time ' + data.first_time + ' to ' +
      data.last_time + ' (host units)' + (kinds ? ': ' + kinds : '');
    const notes = document.getElementById('notes');
    for (const note of data.notes) notes.appendChild(element('li', '', note));
    for (const chart of data.measurements.concat(data.profiles)) {
      for (const panel of chart.panels) {
        const where = chartTitle(chart) + ', ' + panel.ylabel + ': ';
        if (panel.stride > 1) {
          notes.appendChild(element('li', '', where + 'one time in ' + panel.stride +
                                                ' is charted (long run)'));
        }
        if (panel.left_out > 0) {
          notes.appendChild(element('li', '', where + 'the first ' + data.series_per_chart +
                                                ' series seen are drawn; ' +
                                                (panel.left_out_past_count ? 'at least ' : '') +
                                                panel.left_out + ' more are drawn as one ' +
                                                'series, the highest value among them at ' +
                                                'each time'));
        }
      }
    }
  }

  // ---- Charts

  function chartTitle(chart) {
    if (chart.profile !== undefined) {
      return chart.profile === 0 ? 'Default profile (0)' : 'Profile ' + chart.profile;
    }
    return 'Measurement ' + chart.id + ', client ' + chart.client;
  }

  function span(chart) {
    return 'from time ' + chart.started +
           (chart.stopped === null ? ' (not stopped)' : ' to ' + chart.stopped);
  }

  function measurementCaption(m) {
    if (m.mode === 'reports') {
      return 'Reports only, from time ' + m.started + ': the reported RSSI (dBm) and, where ' +
             'the BSS load is reported, channel utilisation (0 to 255, lower panel) of each ' +
             'access point. The notes above say what the input lacks.';
    }
    const r = m.request;
    if (m.mode === 'connected') {
      return 'Connected mode, ' + span(m) + ': the link\'s RSSI sampled every ' +
             m.sampling_period + ', averaged with alpha ' + Number(m.alpha.toPrecision(6)) +
             ' (weight of the previous average), reported every ' + m.reporting_period +
             '. The period and alpha are those the plug-in runs with, from the start record; ' +
             'each report carries the average at its time.';
    }
    // All 32 bytes 0xFF: any network.
    const networks = (r.wifi_ident || []).map((n) =>
      (n.ssid === '' ? '(connected)' : /^(\\xff){32}$/.test(n.ssid) ? '(any)' : n.ssid));
    return 'Scan mode, ' + span(m) + ', reported every ' + m.reporting_period + ', networks: ' +
           (networks.length ? networks.join(', ') : 'any') +
           '. RSSI (dBm) and, where the BSS load is reported, channel utilisation ' +
           '(0 to 255, lower panel) of each access point at each report.';
  }

  function profileCaption(p) {
    return (p.profile === 0
              ? 'Quality verdicts of the station link, the link status of each WLAN ' +
                'availability record, and Wi-Fi on and off, each in its own panel.'
              : 'Quality verdicts from the decision engine.') +
           ' Where a verdict gives a reason, its modem reason code is on the right axis.';
  }

  function pointCounts(graph, labels) {
    const counts = {};
    for (let column = 1; column < labels.length; column++) {
      let n = 0;
      for (let row = 0; row < graph.numRows(); row++) {
        const v = graph.getValue(row, column);
        if (v !== null && !Number.isNaN(v)) n++;
      }
      counts[labels[column]] = n;
    }
    return counts;
  }

  // An axis of a few integer states: a tick at each, named, and the legend names them too.
  function stateAxis(names) {
    return {
      ticker: () => names.map((label, v) => ({ v, label })),
      valueFormatter: (v) => (names[v] !== undefined ? names[v] : String(v)),
    };
  }

  // A card's panels share the run's time axis: zooming one zooms the others.
  function drawPanels(card, chart) {
    const panels = chart.panels.filter((p) => p.labels.length > 1);
    if (panels.length === 0) {
      const box = element('div', 'chart empty', 'Nothing to chart yet.');
      box.dataset.title = chartTitle(chart);
      box.dataset.points = '{}';
      card.appendChild(box);
      return;
    }
    const graphs = [];
    let syncing = false;
    panels.forEach((panel, i) => {
      const last = i === panels.length - 1;
      const box = element('div', 'chart panel-' + panel.name + (last ? ' last' : ''));
      box.dataset.title = chartTitle(chart);
      card.appendChild(box);
      const legend = element('div', 'legend');
      card.appendChild(legend);
      const usesY2 = Object.keys(panel.series).some((k) => panel.series[k].axis === 'y2');
      const axes = {
        // Host time is in whole units.
        x: { axisLabelFormatter: (x) => (Number.isInteger(x) ? String(x) : ''),
             axisLabelFontSize: last ? 14 : 11 },
        // One width for every panel, so that their time axes line up.
        y: { axisLabelWidth: 95 },
      };
      if (panel.ticks) Object.assign(axes.y, stateAxis(panel.ticks));
      if (usesY2) axes.y2 = { independentTicks: true, drawGrid: false };
      const graph = new Dygraph(box, panel.rows, {
        labels: panel.labels,
        series: panel.series,
        connectSeparatedPoints: true,
        drawPoints: true,
        pointSize: 2,
        legend: 'always',
        labelsDiv: legend,
        ylabel: panel.ylabel,
        y2label: usesY2 ? 'reason code' : undefined,
        xlabel: last ? 'time (host units)' : undefined,
        // Every chart spans the whole run, so that charts line up and a lone point shows.
        dateWindow: [data.first_time, Math.max(data.last_time, data.first_time + 1)],
        xRangePad: 8,
        rightGap: 20,
        valueRange: panel.ticks ? [-0.3, panel.ticks.length - 0.7] : undefined,
        showRangeSelector: last && panel.rows.length > 1,
        rangeSelectorHeight: 24,
        axes,
        drawCallback: (g, initial) => {
          if (initial || syncing) return;
          syncing = true;
          for (const other of graphs) {
            if (other !== g) other.updateOptions({ dateWindow: g.xAxisRange() });
          }
          syncing = false;
        },
      });
      graphs.push(graph);
      box.dataset.points = json(pointCounts(graph, panel.labels));
    });
  }

  function drawMeasurements() {
    const section = document.getElementById('measurements');
    if (data.measurements.length === 0) {
      section.appendChild(element('p', 'empty', 'No raw measurement ran.'));
    }
    for (const m of data.measurements) {
      const card = element('div', 'card measurement');
      card.appendChild(element('h3', '', chartTitle(m)));
      card.appendChild(element('p', 'caption', measurementCaption(m)));
      section.appendChild(card);
      drawPanels(card, m);
    }
  }

  function availabilityTable(p) {
    const table = element('table', 'records');
    const head = element('tr');
    for (const h of ['time', 'link', 'status', 'SSID', 'BSSID', 'MHz', 'IPv4', 'country']) {
      head.appendChild(element('th', '', h));
    }
    table.appendChild(head);
    const links = p.panels.find((panel) => panel.name === 'links').ticks;
    for (const r of p.availability) {
      const row = element('tr');
      const status = r.link_status + (links[r.link_status] ? ' ' + links[r.link_status] : '');
      for (const v of [r.time, r.link, status, r.ssid, r.bssid, r.frequency, r.ipv4_addr,
                       r.country_code]) {
        row.appendChild(textCell(String(v)));
      }
      table.appendChild(row);
    }
    return table;
  }

  // A record's text as nexhost prints bytes (\xNN for what is not printable): the NULs that
  // pad a field are not shown; the cell's title and the event's expanded row have them.
  function textCell(text) {
    const shown = text.replace(/(\\x00)+$/, '');
    const cell = element('td', '', shown);
    if (shown !== text) cell.title = 'bytes: ' + text;
    return cell;
  }

  function drawProfiles() {
    const section = document.getElementById('profiles');
    if (data.profiles.length === 0) section.appendChild(element('p', 'empty', 'No WQE profile ran.'));
    for (const p of data.profiles) {
      const card = element('div', 'card profile');
      card.appendChild(element('h3', '', chartTitle(p)));
      card.appendChild(element('p', 'caption', profileCaption(p)));
      section.appendChild(card);
      drawPanels(card, p);
      if (p.availability.length > 0) {
        card.appendChild(element('p', 'caption',
                                 'WLAN availability records' +
                                 (p.availability_left_out > 0
                                    ? ' (the last ' + p.availability.length + '; ' +
                                      p.availability_left_out + ' earlier ones are in the timeline)'
                                    : '')));
        card.appendChild(availabilityTable(p));
      }
    }
  }

  // ---- Timeline

  // Decoded fields as nested tables, keys on the left.
  function fieldTable(value) {
    if (value === null || typeof value !== 'object') return document.createTextNode(json(value));
    if (Array.isArray(value) && value.every((v) => v === null || typeof v !== 'object')) {
      return document.createTextNode(json(value));
    }
    const table = element('table');
    const keys = Array.isArray(value) ? value.map((_, i) => '- ' + i) : Object.keys(value);
    const values = Array.isArray(value) ? value : keys.map((k) => value[k]);
    keys.forEach((key, i) => {
      const row = element('tr');
      row.appendChild(element('td', 'key', key));
      const cell = element('td');
      cell.appendChild(fieldTable(values[i]));
      row.appendChild(cell);
      table.appendChild(row);
    });
    return table;
  }

  function eventRow(e, line) {
    const row = element('details', 'event kind-' + e.kind);
    const head = element('summary');
    head.appendChild(element('span', 't', String(e.time)));
    head.appendChild(element('span', 'k', e.kind));
    head.appendChild(element('span', 'line', line));
    row.appendChild(head);
    // Built when opened: a long timeline stays light.
    row.addEventListener('toggle', () => {
      if (!row.open || row.querySelector('.fields')) return;
      const body = element('div', 'fields');
      const details = Object.assign({}, e);
      delete details.time;
      delete details.kind;
      body.appendChild(fieldTable(e.kind === 'modem' && e.fields ? e.fields : details));
      row.appendChild(body);
    });
    return row;
  }

  function drawTimeline() {
    const filters = document.getElementById('kind-filters');
    const search = document.getElementById('search');
    const rows = document.getElementById('timeline-rows');
    const more = document.getElementById('more');
    const count = document.getElementById('timeline-count');
    const kinds = kindOrder.filter((k) => data.kinds[k] !== undefined)
                    .concat(Object.keys(data.kinds).filter((k) => kindOrder.indexOf(k) < 0));
    const shown = {};
    for (const kind of kinds) {
      shown[kind] = true;
      const label = element('label');
      const box = element('input');
      box.type = 'checkbox';
      box.checked = true;
      box.dataset.kind = kind;
      box.addEventListener('change', () => {
        shown[kind] = box.checked;
        refresh();
      });
      label.appendChild(box);
      label.appendChild(document.createTextNode(' ' + kind));
      filters.appendChild(label);
    }
    const texts = new Array(events.length);
    let matching = [];
    let drawn = 0;

    function drawMore() {
      const end = Math.min(matching.length, drawn + pageSize);
      const fragment = document.createDocumentFragment();
      for (; drawn < end; drawn++) {
        fragment.appendChild(eventRow(events[matching[drawn]], lines[matching[drawn]]));
      }
      rows.appendChild(fragment);
      more.hidden = drawn >= matching.length;
      count.textContent = matching.length + ' of ' + events.length + ' events' +
                          (data.timeline_left_out > 0
                             ? ' (' + data.timeline_left_out + ' left out mid-run)'
                             : '') +
                          (drawn < matching.length ? ', first ' + drawn + ' shown' : '');
    }

    function refresh() {
      const needle = search.value.trim().toLowerCase();
      matching = [];
      events.forEach((e, i) => {
        if (!shown[e.kind]) return;
        if (needle) {
          if (texts[i] === undefined) texts[i] = (lines[i] + ' ' + json(e)).toLowerCase();
          if (texts[i].indexOf(needle) < 0) return;
        }
        matching.push(i);
      });
      rows.textContent = '';
      drawn = 0;
      drawMore();
    }

    search.addEventListener('input', refresh);
    more.addEventListener('click', drawMore);
    refresh();
  }

  drawHeader();
  drawMeasurements();
  drawProfiles();
  drawTimeline();
  document.body.dataset.ready = 'true';
})();
